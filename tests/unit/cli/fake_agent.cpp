#include "unit/cli/fake_agent.h"

#include <cstdlib>
#include <netinet/in.h>
#include <ostream>
#include <sys/socket.h>
#include <unistd.h>

#include "cli/run.h"

namespace {

void send_all(int fd, const std::string &bytes)
{
    if (send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0) return;
}

// False when the connection is to be closed.
bool answer_frame(FakeAgent *agent, int fd, const proto::Frame &frame)
{
    if (frame.op == proto::Op::hello) {
        send_all(fd, proto::make_frame(proto::Op::reply, frame.id,
                                       proto::encode(proto::HelloReply{agent->version, "test"})));
        return true;
    }
    agent->lock.lock();
    const Answer answer = agent->script(frame.op, frame.payload);
    agent->lock.unlock();
    if (!answer.silent && !answer.hang_up)
        send_all(fd, proto::make_frame(answer.op, frame.id, answer.payload) + answer.after);
    return !answer.hang_up;
}

void serve(FakeAgent *agent, int fd)
{
    std::string bytes;
    char buffer[65536];
    for (ssize_t got = 0; (got = recv(fd, buffer, sizeof buffer, 0)) > 0;) {
        bytes.append(buffer, static_cast<std::size_t>(got));
        proto::Frame frame;
        std::size_t used = 0;
        while (proto::next_frame(bytes, &frame, &used) == proto::Parse::complete) {
            if (!answer_frame(agent, fd, frame)) return;
            bytes.erase(0, used);
        }
    }
}

void accept_all(FakeAgent *agent)
{
    for (int fd = 0; (fd = accept(agent->listener, nullptr, nullptr)) >= 0;) {
        agent->connection = fd;
        if (!agent->stopping) serve(agent, fd);
        agent->connection = -1;
        close(fd);
    }
}

} // namespace

FakeAgent::FakeAgent(Script answers) : script(std::move(answers))
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (bind(listener, reinterpret_cast<sockaddr *>(&address), size) != 0 || listen(listener, 4) != 0) std::abort();
    getsockname(listener, reinterpret_cast<sockaddr *>(&address), &size);
    port = ntohs(address.sin_port);
    thread = std::thread(accept_all, this);
}

FakeAgent::~FakeAgent()
{
    stopping = true;
    shutdown(listener, SHUT_RDWR);
    if (connection >= 0) shutdown(connection, SHUT_RDWR);
    thread.join();
    close(listener);
}

Answer refusal(proto::ErrorCode code, const std::string &path, const std::string &text)
{
    return {proto::Op::error, proto::encode(proto::Error{code, path, text}), "", false, false};
}

std::string event_frame(const proto::Event &event)
{
    return proto::make_frame(proto::Op::event, 0, proto::encode(event));
}

void PrintTo(const Ran &ran, std::ostream *stream)
{
    *stream << "status " << ran.status << "\n--- out\n" << ran.out << "--- err\n" << ran.err;
}

Ran run_gwcli(const FakeAgent &agent, const std::vector<std::string> &arguments, const std::string &input)
{
    char *out = nullptr;
    char *err = nullptr;
    std::size_t out_size = 0;
    std::size_t err_size = 0;
    std::FILE *file = std::tmpfile();
    std::fputs(input.c_str(), file);
    std::rewind(file);
    cli::Cli session;
    session.out = open_memstream(&out, &out_size);
    session.err = open_memstream(&err, &err_size);
    session.link.port = agent.port;
    session.timeouts = {300, 600};
    Ran ran;
    std::unique_lock(agent.lock).unlock(); // what the test wrote is for the script to read, and the other way round
    ran.status = cli::run(&session, arguments, file);
    std::unique_lock(agent.lock).unlock();
    std::fclose(session.out);
    std::fclose(session.err);
    std::fclose(file);
    ran.out.assign(out, out_size);
    ran.err.assign(err, err_size);
    std::free(out);
    std::free(err);
    return ran;
}

proto::TreeNode node(proto::NodeKind kind, const std::string &name, const std::string &text, proto::ValueType type)
{
    return {kind, false, false, type, name, text};
}

proto::TreeNode key(const std::string &name, const std::string &text, proto::ValueType type)
{
    return {proto::NodeKind::leaf, true, false, type, name, text};
}

proto::TreeNode by_default(const std::string &name, const std::string &text, proto::ValueType type)
{
    return {proto::NodeKind::leaf, false, true, type, name, text};
}
