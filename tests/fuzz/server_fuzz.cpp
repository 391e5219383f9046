// Bytes of a connection through the agent's server, cut into pieces: whatever the cuts, the agent gets the frames that
// the stream holds, in their order, up to the first that is none or a second hello; then the connection ends.
// The first byte is the size of a piece.
#include <event2/event.h>
#include <sys/socket.h>
#include <unistd.h>

#include "agent/server.h"
#include "protocol/frame.h"
#include "protocol/hello.h"
#include "quiet.h"
#include "service/stream.h"
#include "target.h"

namespace {

struct Bench {
    agent::Loop loop = agent::open_loop();
    agent::Server server;
    std::uint16_t port = static_cast<std::uint16_t>(20000 + getpid() % 10000); // others fuzz at the same time
    std::vector<std::string> got;                                              // frames, as they would be sent
    int greeted = 0;
    int gone = 0;

    Bench()
    {
        agent::ServerEvents events;
        events.greeted = [this](const agent::PeerInfo & /*info*/) { greeted++; };
        events.frame = [this](agent::PeerId /*peer*/, const proto::Frame &frame) {
            got.push_back(proto::make_frame(frame.op, frame.id, frame.payload));
        };
        events.gone = [this](agent::PeerId /*peer*/) { gone++; };
        std::string error;
        server = agent::open_server(loop, port, events, &error);
        require(server != nullptr);
    }
};

std::vector<std::string> frames_of(std::string_view stream)
{
    std::vector<std::string> frames;
    proto::Frame frame;
    std::size_t used = 0;
    while (proto::next_frame(stream, &frame, &used) == proto::Parse::complete && frame.op != proto::Op::hello) {
        frames.emplace_back(stream.substr(0, used));
        stream.remove_prefix(used);
    }
    return frames;
}

void turn(const Bench &bench, int flags = EVLOOP_NONBLOCK)
{
    event_base_loop(base_of(bench.loop), flags);
}

// Until the agent has closed or does not take any more.
void send_pieces(const Bench &bench, int fd, std::string_view stream, std::size_t piece)
{
    while (!stream.empty()) {
        const ssize_t sent = send(fd, stream.data(), std::min(piece, stream.size()), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent <= 0) return; // the agent has closed
        stream.remove_prefix(static_cast<std::size_t>(sent));
        turn(bench);
    }
}

} // namespace

void check(std::string_view input)
{
    Bench bench;
    const std::size_t piece = std::max<std::size_t>(take_byte(&input), 1);
    const std::string hello =
        proto::make_frame(proto::Op::hello, 1, proto::encode(proto::Hello{proto::version, proto::Role::client, "", 1}));
    service::Stream stream; // a piece is a packet
    require(service::connect_stream(&stream, bench.port, 0) == 0);
    const int fd = stream.socket.fd;
    send_pieces(bench, fd, hello, hello.size());
    send_pieces(bench, fd, input, piece);
    const std::vector<std::string> frames = frames_of(input);
    while (bench.gone == 0 && bench.got.size() < frames.size())
        turn(bench, EVLOOP_ONCE); // a turn may have ended early; what still waits when a peer leaves is not done
    shutdown(fd, SHUT_WR);
    while (bench.gone == 0)
        turn(bench, EVLOOP_ONCE);
    const linger at_once{1, 0}; // no port of this machine stays behind
    setsockopt(fd, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    require(bench.greeted == 1 && bench.got == frames);
}
