#include <keelanim/keelanim.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

KEEL_DECLARE_METACLASS(TpingMsg);
class TpingMsg : public TserverModifiedMsg {
    KEEL_TYPED(TpingMsg)
};
KEEL_DEFINE_METACLASS(TpingMsg, &TserverModifiedMsgTmeta);

namespace {

using Tnames = std::vector<std::string>;

// A client that writes down what reached it.
class TrecordingClient : public Tclient {
public:
    Tnames fLog;
    TclientServer* fLastServer = nullptr;

    static void heard(Tclient* client, TclientServer* server, TserverMsg const& msg)
    {
        auto* self = static_cast<TrecordingClient*>(client);
        self->fLog.emplace_back(msg.typeof()->name());
        self->fLastServer = server;
    }
};

TEST(ClientFilters, BaseClassFilterHearsDerivedMessagesOnly)
{
    TclientServer server;
    TrecordingClient modified;
    TrecordingClient pingOnly;
    EXPECT_FALSE(server.hasMessage(TpingMsgTmeta));
    server.addClient(&modified, TserverModifiedMsgTmeta, &TrecordingClient::heard);
    server.addClient(&pingOnly, TpingMsgTmeta, &TrecordingClient::heard);
    EXPECT_TRUE(server.hasMessage(TpingMsgTmeta));
    EXPECT_TRUE(server.hasMessage(TserverModifiedMsgTmeta));
    EXPECT_FALSE(server.hasMessage(TserverMsgTmeta)) << "a base message does not pass a derived filter";

    server.notifyClients(TpingMsg());
    server.notifyClients(TserverModifiedMsg());
    server.notifyClients(TserverMsg());
    EXPECT_EQ(modified.fLog, (Tnames{"TpingMsg", "TserverModifiedMsg"}));
    EXPECT_EQ(pingOnly.fLog, (Tnames{"TpingMsg"}));
    EXPECT_EQ(modified.fLastServer, &server);
    server.notifyClient(&pingOnly, TpingMsg());
    EXPECT_EQ(modified.fLog.size(), 2u) << "notifyClient reaches only that client";
    EXPECT_EQ(pingOnly.fLog.size(), 2u);
}

TEST(ClientRegistration, TwoFiltersAtOnceAndSelectiveRemoval)
{
    TclientServer server;
    TrecordingClient client;
    EXPECT_TRUE(server.addClient(&client, TpingMsgTmeta, &TrecordingClient::heard, TserverDeletedMsgTmeta,
                                 &TrecordingClient::heard));
    EXPECT_FALSE(server.addClient(&client, TpingMsgTmeta, &TrecordingClient::heard)) << "no repeats";
    EXPECT_FALSE(server.addClient(nullptr, TpingMsgTmeta, &TrecordingClient::heard));
    EXPECT_EQ(server.clientCount(), 1u);
    EXPECT_TRUE(server.removeClient(&client, TpingMsgTmeta));
    EXPECT_TRUE(server.hasClient(&client)) << "still listening under the other filter";
    server.notifyClients(TpingMsg());
    EXPECT_TRUE(client.fLog.empty());
    EXPECT_TRUE(server.removeClient(&client));
    EXPECT_FALSE(server.hasClient(&client));
    EXPECT_FALSE(server.removeClient(&client));
    EXPECT_EQ(client.serverCount(), 0u);
}

TEST(ClientLifetime, DestroyedClientsAreForgottenAndServersSayGoodbye)
{
    TrecordingClient survivor;
    {
        TclientServer server;
        {
            TrecordingClient shortLived;
            server.addClient(&shortLived, TpingMsgTmeta, &TrecordingClient::heard);
        }
        EXPECT_EQ(server.clientCount(), 0u);
        server.notifyClients(TpingMsg());  // must not reach the dead client
        server.addClient(&survivor, TserverDeletedMsgTmeta, &TrecordingClient::heard);
        EXPECT_EQ(survivor.serverCount(), 1u);
        TclientServer const copy(server);
        EXPECT_FALSE(copy.hasClient(&survivor)) << "copied servers start without clients";
    }
    EXPECT_EQ(survivor.fLog, (Tnames{"TserverDeletedMsg"}));
    EXPECT_EQ(survivor.serverCount(), 0u);
}

TEST(ClientLifetime, CallbacksMayUnregisterDuringDelivery)
{
    TclientServer server;
    struct TselfRemover : Tclient {
        int fCalls = 0;
        static void once(Tclient* client, TclientServer* from, TserverMsg const&)
        {
            auto* self = static_cast<TselfRemover*>(client);
            ++self->fCalls;
            from->removeClient(self);
        }
    } remover;
    TrecordingClient after;
    server.addClient(&remover, TpingMsgTmeta, &TselfRemover::once);
    server.addClient(&after, TpingMsgTmeta, &TrecordingClient::heard);
    server.notifyClients(TpingMsg());
    server.notifyClients(TpingMsg());
    EXPECT_EQ(remover.fCalls, 1);
    EXPECT_EQ(after.fLog.size(), 2u) << "later registrations still hear every message";
}

TEST(ClientLifetime, ReplaceServerMovesRegistrations)
{
    TclientServer oldServer;
    TclientServer newServer;
    TrecordingClient client;
    oldServer.addClient(&client, TpingMsgTmeta, &TrecordingClient::heard);
    EXPECT_FALSE(client.replaceServer(&newServer, &oldServer)) << "nothing registered on the first";
    EXPECT_TRUE(client.replaceServer(&oldServer, &newServer));
    EXPECT_FALSE(oldServer.hasClient(&client));
    newServer.notifyClients(TpingMsg());
    EXPECT_EQ(client.fLastServer, &newServer);
}

TEST(Messages, DefaultCopyAndMerge)
{
    TpingMsg a;
    TpingMsg b;
    EXPECT_TRUE(a.copy(b));
    EXPECT_FALSE(a.copy(TserverModifiedMsg()));
    EXPECT_FALSE(a.merge(b)) << "plain messages do not fold";
}

}  // namespace
