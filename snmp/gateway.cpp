#include "snmp/gateway.h"

#include <unistd.h>

#include <algorithm>

#include "protocol/hello.h"
#include "service/log.h"

namespace snmp {

namespace {

constexpr std::chrono::seconds listen_pause{10};

// Whatever was under way on the connection that is gone has no answer.
void forget_requests(Gateway *gateway)
{
    gateway->hello_id = gateway->config_id = gateway->tables_id = 0;
    gateway->greeted = false;
    gateway->config_known = false;
}

void say_hello(Gateway *gateway, Time now)
{
    const proto::Hello hello{proto::version, proto::Role::snmp, "gw-snmp", static_cast<std::uint32_t>(getpid())};
    gateway->hello_id = send_request(&gateway->link, proto::Op::hello, proto::encode(hello), now);
}

// Before what is watched can bring a trap, the configuration is asked for, so that it meets the targets.
void ask_config(Gateway *gateway, Time now)
{
    const proto::Get get{proto::Source::running, true, {"snmp"}};
    gateway->config_id = send_request(&gateway->link, proto::Op::get, proto::encode(get), now);
    gateway->config_known = true;
}

void ask_tables(Gateway *gateway, Time now)
{
    const proto::Get get{proto::Source::operational, false, {"if-mib"}};
    gateway->tables_id = send_request(&gateway->link, proto::Op::get, proto::encode(get), now);
    gateway->tables_asked = now;
}

void hello_answered(Gateway *gateway, const service::Message &message, Time now)
{
    proto::HelloReply reply;
    gateway->hello_id = 0;
    if (message.op != proto::Op::reply || !proto::decode(message.payload, &reply) || reply.version != proto::version) {
        drop_link(&gateway->link, "it speaks another version of the protocol", now);
        return;
    }
    service::log(LOG_NOTICE, "connected to the agent, version %s", reply.agent_version.c_str());
    gateway->greeted = true;
    link_is_good(&gateway->link);
    ask_config(gateway, now);
    const proto::Watch watch{proto::watch_traps | proto::watch_commits};
    send_request(&gateway->link, proto::Op::watch, proto::encode(watch), now);
}

void config_answered(Gateway *gateway, const service::Message &message)
{
    proto::Tree tree;
    gateway->config_id = 0;
    if (message.op != proto::Op::reply || !proto::decode(message.payload, &tree)) {
        service::log(LOG_ERR, "the agent does not tell the configuration; the last known one stays");
        return;
    }
    Config config = config_of(tree);
    if (config == gateway->config) return;
    service::log(LOG_NOTICE, "requests are %s, %zu trap targets", config.answers ? "answered" : "switched off",
                 config.targets.size());
    gateway->config = std::move(config);
    gateway->next_try = {};
}

void tables_answered(Gateway *gateway, const service::Message &message)
{
    proto::Tree tree;
    std::string fault;
    Snapshot snapshot;
    gateway->tables_id = 0;
    if (message.op == proto::Op::reply && proto::decode(message.payload, &tree)) {
        snapshot = make_snapshot(tree);
    } else {
        snapshot.fault = "the agent refuses to read them";
    }
    if (!snapshot.fault.empty() && snapshot.fault != gateway->tables.snapshot.fault) {
        service::log(LOG_WARNING, "interfaces are missing or incomplete: %s", snapshot.fault.c_str());
    }
    refreshed(&gateway->tables, std::move(snapshot), gateway->tables_asked);
}

void event_came(Gateway *gateway, const service::Message &message)
{
    proto::Event event;
    if (!proto::decode(message.payload, &event)) {
        service::log(LOG_ERR, "the agent sent an event that cannot be read");
    } else if (event.kind == proto::watch_traps) {
        gateway->traps.push_back(std::move(event));
    } else if (event.kind == proto::watch_commits) {
        gateway->config_known = false;
    }
}

void message_came(Gateway *gateway, const service::Message &message, Time now)
{
    if (message.op == proto::Op::event) {
        event_came(gateway, message);
    } else if (message.id == gateway->hello_id) {
        hello_answered(gateway, message, now);
    } else if (message.id == gateway->config_id) {
        config_answered(gateway, message);
    } else if (message.id == gateway->tables_id) {
        tables_answered(gateway, message);
    } else if (message.op == proto::Op::error) {
        drop_link(&gateway->link, "it refuses to tell of traps", now);
    }
}

void send_traps(Gateway *gateway)
{
    for (const proto::Event &event : gateway->traps)
        send_trap(event, gateway->config.targets, &gateway->counters);
    gateway->traps.clear();
}

void tend_ports(Gateway *gateway, Time now)
{
    const bool listening = !gateway->master.ports.empty();
    if (listening && !gateway->config.answers) close_ports(&gateway->master);
    if (listening || !gateway->config.answers || now < gateway->next_try) return;
    gateway->next_try = now + listen_pause;
    if (open_ports(&gateway->master, gateway->options.listen)) {
        service::log(LOG_NOTICE, "answering on %s", gateway->options.listen.c_str());
    }
}

// The next request of each kind that is due, one at a time.
void ask(Gateway *gateway, Time now)
{
    if (!gateway->config_known && gateway->config_id == 0) ask_config(gateway, now);
    if (gateway->tables_id == 0 && next_refresh(gateway->tables) <= now) ask_tables(gateway, now);
}

} // namespace

bool start_gateway(Gateway *gateway)
{
    gateway->link.port = gateway->options.agent_port;
    return start_master(gateway->options, &gateway->tables, &gateway->counters);
}

void tend_gateway(Gateway *gateway, Time now)
{
    Link *link = &gateway->link;
    tend_link(link, now);
    service::Message message;
    while (link->state == LinkState::open && take_message(link, &message, now))
        message_came(gateway, message, now);
    if (link->state != LinkState::open) {
        forget_requests(gateway);
    } else if (!gateway->greeted) {
        if (gateway->hello_id == 0) say_hello(gateway, now);
    } else {
        ask(gateway, now);
    }
    // The targets of a trap are those of the last commit before it; without a connection, those known.
    if (gateway->config_id == 0) send_traps(gateway);
    tend_ports(gateway, now);
    expire(&gateway->tables, now);
}

Time next_due(const Gateway &gateway)
{
    Time due = std::min(next_wake(gateway.link), next_expiry(gateway.tables));
    if (gateway.greeted && gateway.tables_id == 0) due = std::min(due, next_refresh(gateway.tables));
    if (gateway.config.answers && gateway.master.ports.empty()) due = std::min(due, gateway.next_try);
    return due;
}

} // namespace snmp
