#include "agent/server.h"

#include <cassert>
#include <cerrno>
#include <cstring>
#include <map>

#include <arpa/inet.h>
#include <event2/buffer.h>
#include <event2/bufferevent.h>
#include <event2/event.h>
#include <event2/listener.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include "protocol/value.h"
#include "protocol/wire.h"
#include "service/log.h"
#include "service/text.h"

namespace agent {

namespace {

constexpr std::size_t max_name = 64;
constexpr std::chrono::milliseconds longest_turn{2}; // of one peer, while it has requests waiting

struct BufferDelete {
    void operator()(bufferevent *bev) const { bufferevent_free(bev); }
};
struct ListenerDelete {
    void operator()(evconnlistener *listener) const { evconnlistener_free(listener); }
};
struct EventDelete {
    void operator()(event *ev) const { event_free(ev); }
};

struct Connection {
    PeerInfo info;
    ServerState *server = nullptr;
    std::unique_ptr<bufferevent, BufferDelete> bev;
    Timer deadline;         // for the hello, and for a farewell to be read
    Timer next_turn;        // set while there is input that the last turn did not get to
    std::uint64_t used = 0; // when its last frame was taken, see ServerState::frames
    bool greeted = false;
    bool leaving = false; // a last message is on its way
    bool closing = false; // ended; freed by reap()
};

} // namespace

struct ServerState {
    const Loop *loop = nullptr;
    ServerEvents events;
    std::unique_ptr<evconnlistener, ListenerDelete> listener;
    std::unique_ptr<event, EventDelete> reaper;
    std::map<PeerId, Connection> connections; // nodes do not move: libevent keeps their addresses
    PeerId last_id = 0;
    std::uint64_t frames = 0; // taken so far: a clock that tells who was idle longest
};

void ServerDelete::operator()(ServerState *state) const
{
    delete state;
}

namespace {

// Connections are freed from the loop only, so that no caller up the stack loses the one it works on.
void end(Connection &c, const char *why)
{
    if (c.closing) return;
    c.closing = true;
    bufferevent_disable(c.bev.get(), EV_READ | EV_WRITE);
    event_active(c.server->reaper.get(), EV_TIMEOUT, 0);
    if (why != nullptr) service::log(LOG_NOTICE, "closing %s[%u]: %s", c.info.name.c_str(), c.info.pid, why);
}

void reap(evutil_socket_t /*fd*/, short /*what*/, void *context)
{
    auto &server = *static_cast<ServerState *>(context);
    std::vector<PeerId> gone;
    for (auto it = server.connections.begin(); it != server.connections.end();) {
        if (!it->second.closing) {
            ++it;
            continue;
        }
        if (it->second.greeted) gone.push_back(it->first);
        it = server.connections.erase(it);
    }
    for (const PeerId id : gone)
        server.events.gone(id);
}

void put_frame(Connection &c, proto::Op op, std::uint32_t id, std::string_view payload)
{
    const std::string frame = proto::make_frame(op, id, payload);
    bufferevent_write(c.bev.get(), frame.data(), frame.size());
}

// Says why and closes when the peer has read it, or at the deadline of its hello.
void turn_away(Connection &c, std::uint32_t id, proto::ErrorCode code, const char *why)
{
    proto::Error error;
    error.code = code;
    error.text = why;
    service::log(LOG_NOTICE, "turning a peer away: %s", why);
    put_frame(c, proto::Op::error, id, proto::encode(error));
    c.leaving = true;
    bufferevent_disable(c.bev.get(), EV_READ);
}

void greet(Connection &c, const proto::Frame &frame)
{
    proto::Hello hello;
    if (frame.op != proto::Op::hello || !proto::decode(frame.payload, &hello)) {
        turn_away(c, frame.id, proto::ErrorCode::malformed, "the first message must be a hello");
        return;
    }
    if (hello.version != proto::version) {
        turn_away(c, frame.id, proto::ErrorCode::unknown_op, "this agent speaks another version of the protocol");
        return;
    }
    if (hello.role < proto::Role::client || hello.role > proto::Role::snmp) {
        turn_away(c, frame.id, proto::ErrorCode::malformed, "a hello with a role that does not exist");
        return;
    }
    c.deadline.reset();
    c.greeted = true;
    c.info.role = hello.role;
    c.info.name = service::cut_text(proto::printable(hello.name), max_name);
    c.info.pid = hello.pid;
    c.server->events.greeted(c.info);
    proto::HelloReply reply;
    reply.version = proto::version;
    reply.agent_version = GW_VERSION;
    put_frame(c, proto::Op::reply, frame.id, proto::encode(reply));
}

void take_frame(Connection &c, const proto::Frame &frame)
{
    c.used = ++c.server->frames;
    if (!c.greeted) {
        greet(c, frame);
    } else if (frame.op == proto::Op::hello) {
        end(c, "a second hello");
    } else {
        c.server->events.frame(c.info.id, frame);
    }
}

// Bytes of the first frame in the buffer, 0 while its length field is incomplete.
std::size_t frame_bytes(evbuffer *input)
{
    unsigned char head[proto::length_bytes];
    if (evbuffer_copyout(input, head, sizeof head) < static_cast<ev_ssize_t>(sizeof head)) return 0;
    proto::Reader r = proto::make_reader({reinterpret_cast<const char *>(head), sizeof head});
    return proto::length_bytes + proto::get_u32(r);
}

// Works off the first frame of the input. False: there is no whole one, or none is taken any more.
bool take_first(Connection &c)
{
    if (c.closing || c.leaving) return false;
    evbuffer *input = bufferevent_get_input(c.bev.get());
    const std::size_t have = evbuffer_get_length(input);
    const std::size_t whole = frame_bytes(input);
    if (whole == 0) return false;
    // Of a frame that is not complete yet only the head is looked at, so that garbage is not waited for.
    const bool complete = have >= whole && whole <= proto::length_bytes + proto::max_frame;
    const std::size_t part = complete ? whole : std::min(have, proto::length_bytes + proto::header_bytes);
    const auto *bytes = reinterpret_cast<const char *>(evbuffer_pullup(input, static_cast<ev_ssize_t>(part)));
    proto::Frame frame;
    std::size_t used = 0;
    const proto::Parse parse = proto::next_frame({bytes, part}, &frame, &used);
    if (parse == proto::Parse::malformed) end(c, "malformed frame");
    if (parse != proto::Parse::complete) return false;
    take_frame(c, frame);
    evbuffer_drain(input, used);
    return true;
}

// A timer, since what is made active at once comes before the sockets of the others are looked at.
void take_turn(Connection &c)
{
    c.next_turn.reset();
    const auto until = std::chrono::steady_clock::now() + longest_turn;
    while (take_first(c)) {
        if (std::chrono::steady_clock::now() < until) continue;
        c.next_turn = start_timer(*c.server->loop, std::chrono::milliseconds(0), [&c] { take_turn(c); });
        return;
    }
}

void on_read(bufferevent * /*bev*/, void *context)
{
    auto &c = *static_cast<Connection *>(context);
    if (!c.next_turn) take_turn(c);
}

void on_write(bufferevent * /*bev*/, void *context)
{
    auto &c = *static_cast<Connection *>(context);
    if (c.leaving) end(c, nullptr);
}

void on_event(bufferevent * /*bev*/, short what, void *context)
{
    auto &c = *static_cast<Connection *>(context);
    if ((what & (BEV_EVENT_EOF | BEV_EVENT_ERROR)) != 0) end(c, nullptr);
}

bool may_go(const Connection &c)
{
    return !c.greeted || (c.info.role == proto::Role::client && c.server->events.dispensable(c.info.id));
}

// Room for one more: the oldest connection that has not said hello goes first, then the client that was idle longest.
bool make_room(ServerState &server)
{
    std::size_t open = 0;
    Connection *first = nullptr;
    for (auto &[id, c] : server.connections) {
        if (c.closing) continue;
        open++;
        if (may_go(c) && (first == nullptr || c.used < first->used)) first = &c;
    }
    if (open < max_peers) return true;
    if (first != nullptr) end(*first, "too many connections");
    return first != nullptr;
}

void on_accept(evconnlistener * /*listener*/, evutil_socket_t fd, sockaddr * /*address*/, int /*length*/, void *context)
{
    auto &server = *static_cast<ServerState *>(context);
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    bufferevent *bev =
        make_room(server) ? bufferevent_socket_new(base_of(*server.loop), fd, BEV_OPT_CLOSE_ON_FREE) : nullptr;
    if (bev == nullptr) {
        evutil_closesocket(fd);
        service::log(LOG_WARNING, "connection refused: %zu are open", server.connections.size());
        return;
    }
    Connection &c = server.connections[++server.last_id];
    c.server = &server;
    c.info.id = server.last_id;
    c.info.name = "(no hello)";
    c.info.since = std::chrono::steady_clock::now();
    c.bev.reset(bev);
    c.deadline = start_timer(*server.loop, std::chrono::seconds(proto::hello_seconds), [&c] { end(c, "no hello"); });
    bufferevent_setcb(bev, on_read, on_write, on_event, &c);
    bufferevent_setwatermark(bev, EV_READ, 0, proto::length_bytes + proto::max_frame);
    bufferevent_enable(bev, EV_READ | EV_WRITE);
}

void on_accept_error(evconnlistener * /*listener*/, void * /*context*/)
{
    service::log(LOG_ERR, "cannot accept a connection: %s", strerror(errno));
}

} // namespace

Server open_server(const Loop &loop, std::uint16_t port, ServerEvents events, std::string *error)
{
    Server server(new ServerState);
    server->loop = &loop;
    server->events = std::move(events);
    server->reaper.reset(event_new(base_of(loop), -1, 0, reap, server.get()));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    server->listener.reset(evconnlistener_new_bind(base_of(loop), on_accept, server.get(),
                                                   LEV_OPT_CLOSE_ON_FREE | LEV_OPT_CLOSE_ON_EXEC | LEV_OPT_REUSEABLE,
                                                   SOMAXCONN, reinterpret_cast<sockaddr *>(&address), sizeof address));
    if (!server->listener || !server->reaper) {
        *error = "cannot listen on 127.0.0.1:" + std::to_string(port) + ": " + strerror(errno);
        return nullptr;
    }
    evconnlistener_set_error_cb(server->listener.get(), on_accept_error);
    return server;
}

bool send_frame(const Server &server, PeerId peer, proto::Op op, std::uint32_t id, std::string_view payload)
{
    assert(proto::fits_frame(payload.size()));
    const auto it = server->connections.find(peer);
    if (it == server->connections.end() || it->second.closing) return false;
    Connection &c = it->second;
    put_frame(c, op, id, payload);
    if (evbuffer_get_length(bufferevent_get_output(c.bev.get())) <= max_queued) return true;
    end(c, "it does not read what it is sent");
    return false;
}

void close_peer(const Server &server, PeerId peer, const char *why)
{
    const auto it = server->connections.find(peer);
    if (it != server->connections.end()) end(it->second, why);
}

std::vector<PeerInfo> peers(const Server &server)
{
    std::vector<PeerInfo> list;
    for (const auto &[id, c] : server->connections) {
        if (!c.greeted || c.closing) continue;
        list.push_back(c.info);
        list.back().queued = evbuffer_get_length(bufferevent_get_output(c.bev.get()));
    }
    return list;
}

} // namespace agent
