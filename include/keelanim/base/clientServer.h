#pragma once

#include "keelanim/base/export.h"
#include "keelanim/base/metaclass.h"

#include <array>
#include <utility>
#include <vector>

// Observer messaging.
//
// A TclientServer keeps registrations of clients, each with a message-type
// filter and a callback. notifyClients(msg) calls, in registration order,
// every registration whose filter the message's type satisfies (the message
// is of the filter's type or derives from it). A client may listen to several
// servers, and to one server under several filters.
//
// Lifetimes: destroying a client removes all its registrations; destroying a
// server first sends a TserverDeletedMsg to the clients that listen for it,
// then forgets every client. A callback may add or remove registrations,
// including its own, while a message is being delivered.

class Tclient;
class TclientServer;
class TserverMsg;

extern KEEL_API Tmetaclass* TserverMsgTmeta;
extern KEEL_API Tmetaclass* TserverModifiedMsgTmeta;
extern KEEL_API Tmetaclass* TserverDeletedMsgTmeta;

using TclientCallback = void (*)(Tclient*, TclientServer*, TserverMsg const&);

// A message: a value with a type record.
class KEEL_API TserverMsg {
public:
    TserverMsg() = default;
    TserverMsg(TserverMsg const&) = default;
    TserverMsg& operator=(TserverMsg const&) = default;
    virtual ~TserverMsg();

    static Tmetaclass* sTypeof() { return TserverMsgTmeta; }
    virtual Tmetaclass* typeof() const { return TserverMsgTmeta; }
    virtual void* cast(Tmetaclass* type) { return isTypeOf(TserverMsgTmeta, type) ? this : nullptr; }

    // Takes the content of a message of the same type; false otherwise.
    virtual bool copy(TserverMsg const& other);
    // Folds a later message of the same kind into this one while messages
    // wait; false when this message cannot absorb it.
    virtual bool merge(TserverMsg const& other);
};

// "Something on the server changed."
class KEEL_API TserverModifiedMsg : public TserverMsg {
    KEEL_TYPED(TserverModifiedMsg)
};

// Sent by a server to its clients as it is destroyed.
class KEEL_API TserverDeletedMsg : public TserverMsg {
    KEEL_TYPED(TserverDeletedMsg)
};

class KEEL_API TclientServer {
public:
    TclientServer() = default;
    // A copy starts with no clients: observers register with an object, not
    // with its value.
    TclientServer(TclientServer const&);
    TclientServer& operator=(TclientServer const&);
    virtual ~TclientServer();

    // --- Registration ------------------------------------------------------
    // Adds one registration; false for a null client or filter, or when the
    // client is already registered with that filter.
    bool addClient(Tclient* client, Tmetaclass* filter, TclientCallback callback);
    // Up to five filters at once; null filters are skipped. True when at least
    // one registration was added.
    bool addClient(Tclient* client, Tmetaclass* filter1, TclientCallback callback1, Tmetaclass* filter2,
                   TclientCallback callback2, Tmetaclass* filter3 = nullptr, TclientCallback callback3 = nullptr,
                   Tmetaclass* filter4 = nullptr, TclientCallback callback4 = nullptr, Tmetaclass* filter5 = nullptr,
                   TclientCallback callback5 = nullptr);
    // Removes every registration of the client; false when it had none.
    bool removeClient(Tclient* client);
    // Removes the client's registration under one filter.
    bool removeClient(Tclient* client, Tmetaclass* filter);

    bool hasClient(Tclient const* client) const;
    // True when a message of `type` would reach at least one client. The
    // answers for the last few types asked are remembered until the
    // registrations change, so asking before every message costs nothing
    // however many clients listen.
    bool hasMessage(Tmetaclass* type) const;
    unsigned clientCount() const;
    // True when at least one registration exists (cheap).
    bool hasClients() const { return !fRegistrations.empty(); }

    // --- Delivery ----------------------------------------------------------
    void notifyClient(Tclient* client, TserverMsg const& msg);
    void notifyClients(TserverMsg const& msg);

protected:
    // Sends TserverDeletedMsg and forgets every client. A derived server
    // calls it first thing in its destructor, so that clients hear of the
    // deletion while the whole object is still intact.
    void announceDeletion();
    // Called after a registration is added and after a client's last
    // registration is removed.
    virtual void addClientHook(Tclient* client, Tmetaclass* filter);
    virtual void removeClientHook(Tclient* client);

private:
    friend class Tclient;
    struct Registration {
        Tclient* fClient;
        Tmetaclass* fFilter;
        TclientCallback fCallback;
    };
    void deliver(TserverMsg const& msg, Tclient const* only);
    void dropRegistration(std::size_t index);
    void compact();
    bool stillListens(Tclient const* client) const;
    void forgetClientSilently(Tclient* client);

    void forgetAnswers() const { fAnswerCount = 0; }

    std::vector<Registration> fRegistrations;
    unsigned fDeliveryDepth = 0;
    bool fHasVacancies = false;
    // hasMessage's remembered answers: (type, answer), the oldest replaced.
    static constexpr unsigned kRememberedAnswers = 4;
    mutable std::array<std::pair<Tmetaclass*, bool>, kRememberedAnswers> fAnswers{};
    mutable unsigned fAnswerCount = 0;
};

class KEEL_API Tclient {
public:
    Tclient() = default;
    // A copy listens to nothing.
    Tclient(Tclient const&);
    Tclient& operator=(Tclient const&);
    virtual ~Tclient();

    // Moves this client's registrations from `oldServer` to `newServer`,
    // keeping filters and callbacks. False when it had none on oldServer.
    virtual bool replaceServer(TclientServer* oldServer, TclientServer* newServer);

    unsigned serverCount() const { return static_cast<unsigned>(fServers.size()); }

private:
    friend class TclientServer;
    void attach(TclientServer* server);
    void detach(TclientServer* server);

    std::vector<TclientServer*> fServers;
};
