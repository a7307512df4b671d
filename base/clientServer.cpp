#include "keelanim/base/clientServer.h"

#include <algorithm>

KEEL_DEFINE_METACLASS(TserverMsg, nullptr);
KEEL_DEFINE_METACLASS(TserverModifiedMsg, &TserverMsgTmeta);
KEEL_DEFINE_METACLASS(TserverDeletedMsg, &TserverMsgTmeta);

TserverMsg::~TserverMsg() = default;

bool TserverMsg::copy(TserverMsg const& other)
{
    return other.typeof() == typeof();
}

bool TserverMsg::merge(TserverMsg const&)
{
    return false;
}

TclientServer::TclientServer(TclientServer const&) {}

TclientServer& TclientServer::operator=(TclientServer const&)
{
    return *this;
}

TclientServer::~TclientServer()
{
    announceDeletion();
}

void TclientServer::announceDeletion()
{
    TserverDeletedMsg const goodbye;
    notifyClients(goodbye);
    for (Registration const& r : fRegistrations) {
        if (r.fClient != nullptr) {
            r.fClient->detach(this);
        }
    }
    forgetAnswers();
    if (fDeliveryDepth > 0) {
        for (Registration& r : fRegistrations) {
            r.fClient = nullptr;
        }
        fHasVacancies = true;
    } else {
        fRegistrations.clear();
        fHasVacancies = false;
    }
}

void TclientServer::addClientHook(Tclient*, Tmetaclass*) {}

void TclientServer::removeClientHook(Tclient*) {}

bool TclientServer::addClient(Tclient* client, Tmetaclass* filter, TclientCallback callback)
{
    if (client == nullptr || filter == nullptr) {
        return false;
    }
    for (Registration const& r : fRegistrations) {
        if (r.fClient == client && r.fFilter == filter) {
            return false;
        }
    }
    fRegistrations.push_back({client, filter, callback});
    forgetAnswers();
    client->attach(this);
    addClientHook(client, filter);
    return true;
}

bool TclientServer::addClient(Tclient* client, Tmetaclass* filter1, TclientCallback callback1, Tmetaclass* filter2,
                              TclientCallback callback2, Tmetaclass* filter3, TclientCallback callback3,
                              Tmetaclass* filter4, TclientCallback callback4, Tmetaclass* filter5,
                              TclientCallback callback5)
{
    bool added = false;
    added |= addClient(client, filter1, callback1);
    added |= addClient(client, filter2, callback2);
    added |= addClient(client, filter3, callback3);
    added |= addClient(client, filter4, callback4);
    added |= addClient(client, filter5, callback5);
    return added;
}

void TclientServer::dropRegistration(std::size_t index)
{
    forgetAnswers();
    if (fDeliveryDepth > 0) {
        // A delivery loop is walking the vector: leave a vacancy, compact later.
        fRegistrations[index].fClient = nullptr;
        fHasVacancies = true;
    } else {
        fRegistrations.erase(fRegistrations.begin() + static_cast<std::ptrdiff_t>(index));
    }
}

void TclientServer::compact()
{
    if (fDeliveryDepth == 0 && fHasVacancies) {
        std::erase_if(fRegistrations, [](Registration const& r) { return r.fClient == nullptr; });
        fHasVacancies = false;
    }
}

bool TclientServer::stillListens(Tclient const* client) const
{
    return std::any_of(fRegistrations.begin(), fRegistrations.end(),
                       [client](Registration const& r) { return r.fClient == client; });
}

bool TclientServer::removeClient(Tclient* client)
{
    if (client == nullptr) {
        return false;
    }
    bool removed = false;
    for (std::size_t i = fRegistrations.size(); i-- > 0;) {
        if (fRegistrations[i].fClient == client) {
            dropRegistration(i);
            removed = true;
        }
    }
    if (removed) {
        client->detach(this);
        removeClientHook(client);
    }
    return removed;
}

bool TclientServer::removeClient(Tclient* client, Tmetaclass* filter)
{
    if (client == nullptr) {
        return false;
    }
    for (std::size_t i = 0; i < fRegistrations.size(); ++i) {
        if (fRegistrations[i].fClient == client && fRegistrations[i].fFilter == filter) {
            dropRegistration(i);
            if (!stillListens(client)) {
                client->detach(this);
                removeClientHook(client);
            }
            return true;
        }
    }
    return false;
}

void TclientServer::forgetClientSilently(Tclient* client)
{
    for (std::size_t i = fRegistrations.size(); i-- > 0;) {
        if (fRegistrations[i].fClient == client) {
            dropRegistration(i);
        }
    }
}

bool TclientServer::hasClient(Tclient const* client) const
{
    return client != nullptr && stillListens(client);
}

bool TclientServer::hasMessage(Tmetaclass* type) const
{
    unsigned const remembered = std::min(fAnswerCount, kRememberedAnswers);
    for (unsigned i = 0; i < remembered; ++i) {
        if (fAnswers[i].first == type) {
            return fAnswers[i].second;
        }
    }
    bool const answer = std::any_of(fRegistrations.begin(), fRegistrations.end(), [type](Registration const& r) {
        return r.fClient != nullptr && isTypeOf(type, r.fFilter);
    });
    fAnswers[fAnswerCount++ % kRememberedAnswers] = {type, answer};
    return answer;
}

unsigned TclientServer::clientCount() const
{
    std::vector<Tclient const*> seen;
    for (Registration const& r : fRegistrations) {
        if (r.fClient != nullptr && std::find(seen.begin(), seen.end(), r.fClient) == seen.end()) {
            seen.push_back(r.fClient);
        }
    }
    return static_cast<unsigned>(seen.size());
}

void TclientServer::deliver(TserverMsg const& msg, Tclient const* only)
{
    Tmetaclass* const type = msg.typeof();
    ++fDeliveryDepth;
    // Registrations added by a callback wait for the next message.
    std::size_t const count = fRegistrations.size();
    for (std::size_t i = 0; i < count; ++i) {
        Registration const r = fRegistrations[i];
        if (r.fClient == nullptr || r.fCallback == nullptr || (only != nullptr && r.fClient != only)) {
            continue;
        }
        if (isTypeOf(type, r.fFilter)) {
            r.fCallback(r.fClient, this, msg);
        }
    }
    --fDeliveryDepth;
    compact();
}

void TclientServer::notifyClient(Tclient* client, TserverMsg const& msg)
{
    if (client != nullptr) {
        deliver(msg, client);
    }
}

void TclientServer::notifyClients(TserverMsg const& msg)
{
    deliver(msg, nullptr);
}

Tclient::Tclient(Tclient const&) {}

Tclient& Tclient::operator=(Tclient const&)
{
    return *this;
}

Tclient::~Tclient()
{
    std::vector<TclientServer*> const servers = fServers;
    for (TclientServer* server : servers) {
        server->forgetClientSilently(this);
    }
}

void Tclient::attach(TclientServer* server)
{
    if (std::find(fServers.begin(), fServers.end(), server) == fServers.end()) {
        fServers.push_back(server);
    }
}

void Tclient::detach(TclientServer* server)
{
    std::erase(fServers, server);
}

bool Tclient::replaceServer(TclientServer* oldServer, TclientServer* newServer)
{
    if (oldServer == nullptr || newServer == nullptr || oldServer == newServer) {
        return false;
    }
    std::vector<TclientServer::Registration> moved;
    for (TclientServer::Registration const& r : oldServer->fRegistrations) {
        if (r.fClient == this) {
            moved.push_back(r);
        }
    }
    if (moved.empty()) {
        return false;
    }
    oldServer->removeClient(this);
    for (TclientServer::Registration const& r : moved) {
        newServer->addClient(this, r.fFilter, r.fCallback);
    }
    return true;
}
