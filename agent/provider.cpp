#include "agent/provider.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <set>
#include <string_view>

#include "agent/agent.h"
#include "agent/model/values.h"
#include "agent/row.h"

namespace agent {

namespace {

using proto::DataCall;
using proto::DataKind;
using Keys = std::vector<proto::Value>;

// These providers answer for an entry from what the last walk left, so an entry is read by a whole walk.
constexpr std::array<std::string_view, 2> walked_whole = {"dhcp_binding", "pat_cp"};

struct Fetch {
    Agent &agent;
    Wanted wanted;
    std::function<void(Nodes)> done;
    PeerId peer = 0;
    std::uint8_t calls = 0;
    Nodes out;
    // of a walk
    std::chrono::steady_clock::time_point deadline;
    std::set<std::string> seen;
    std::size_t rows = 0;
    std::size_t open_rows = 0; // asked for and not answered
    bool ended = false;        // no more keys will come
};
using FetchPtr = std::shared_ptr<Fetch>;

// Of a reply: what went wrong, or empty.
using WithReply = std::function<void(const proto::DataReply &, const std::string &failure)>;
using WithRow = std::function<void(const RowCells &, bool found)>;

bool can(const Fetch &fetch, DataCall call)
{
    return (fetch.calls & (1U << static_cast<unsigned>(call))) != 0;
}

void send(const Fetch &fetch, DataCall which, proto::KeyPath path, std::int64_t next, Keys keys, WithReply then)
{
    const proto::CallData call{fetch.wanted.callpoint, which, std::move(path), next, std::move(keys)};
    call_peer(fetch.agent, fetch.peer, proto::Op::call_data, proto::encode(call), provider_limit,
              [then = std::move(then)](const Answer &reply) {
                  proto::DataReply data;
                  if (!reply.ok) {
                      then(data, reply.error.text);
                  } else if (!proto::decode(reply.payload, &data)) {
                      then(data, "the provider's answer cannot be read");
                  } else if (data.kind == DataKind::failed) {
                      then(data, data.text.empty() ? "the provider reported failure" : proto::printable(data.text));
                  } else {
                      then(data, "");
                  }
              });
}

// The provider is free for the next; this read is over, once the last row is there.
void finish(const FetchPtr &fetch)
{
    fetch->ended = true;
    if (fetch->open_rows > 0) return;
    std::deque<QueuedWalk> &waiting = fetch->agent.providers.busy[fetch->wanted.callpoint];
    if (waiting.empty()) {
        fetch->agent.providers.busy.erase(fetch->wanted.callpoint);
    } else {
        const std::function<void()> next = std::move(waiting.front().run);
        waiting.pop_front();
        next();
    }
    fetch->done(std::move(fetch->out));
}

void finish_failed(const FetchPtr &fetch, const std::string &why)
{
    fetch->out.push_back(error_mark(fetch->wanted.row->name, why));
    finish(fetch);
}

proto::KeyPath path_to(const Fetch &fetch, const lysc_node *node, const Keys &keys)
{
    std::vector<Keys> all = fetch.wanted.outer;
    if (!keys.empty()) all.push_back(keys);
    return model::wire_path(*fetch.agent.models, node, all);
}

// All leaves are asked for at once; the row is there when the last has answered. A key is not asked for: that the row
// is there says all of it.
void read_leaves(const FetchPtr &fetch, const Keys &keys, WithRow then)
{
    const lysc_node *only = fetch->wanted.only;
    const lysc_node *top = only != nullptr && !lysc_is_key(only) ? only : fetch->wanted.row;
    const std::vector<const lysc_node *> leaves = leaves_below(*fetch->agent.models, top);
    if (leaves.empty()) {
        then({}, !keys.empty());
        return;
    }
    const auto row = std::make_shared<RowCells>();
    const auto open = std::make_shared<std::size_t>(leaves.size());
    const auto when_all = std::make_shared<WithRow>(std::move(then));
    for (const lysc_node *leaf : leaves) {
        send(*fetch, DataCall::get_elem, path_to(*fetch, leaf, keys), -1, {},
             [fetch, row, open, when_all, leaf](const proto::DataReply &reply, const std::string &failure) {
                 if (!failure.empty()) {
                     row->cells[leaf] = {true, {failure}};
                 } else if (reply.kind == DataKind::value) {
                     row->cells[leaf] = cell_of(leaf, reply.value);
                 } else if (reply.kind != DataKind::not_found) {
                     row->cells[leaf] = {true, {"the provider answered with something else"}};
                 }
                 if (--*open == 0) (*when_all)(*row, !row->cells.empty());
             });
    }
}

void read_object(const FetchPtr &fetch, const Keys &keys, WithRow then)
{
    send(*fetch, DataCall::get_object, path_to(*fetch, fetch->wanted.row, keys), -1, {},
         [fetch, then = std::move(then)](const proto::DataReply &reply, const std::string &failure) {
             RowCells row;
             const bool object = reply.kind == DataKind::object && !reply.values.empty();
             if (failure.empty() && object) row = cells_of(*fetch->agent.models, fetch->wanted.row, reply.values);
             const bool wrong = !object && reply.kind != DataKind::not_found && reply.kind != DataKind::object;
             const std::string why = !failure.empty() ? failure
                                     : wrong          ? "the provider answered with something else"
                                                      : "";
             if (!why.empty()) row.marks.push_back(error_mark(fetch->wanted.row->name, why));
             then(row, object || !why.empty());
         });
}

void read_row(const FetchPtr &fetch, const Keys &keys, WithRow then)
{
    const lysc_node *only = fetch->wanted.only;
    const bool one_leaf = only != nullptr && only->nodetype != LYS_CONTAINER && !lysc_is_key(only);
    if (can(*fetch, DataCall::get_object) && !(one_leaf && can(*fetch, DataCall::get_elem))) {
        read_object(fetch, keys, std::move(then));
    } else if (can(*fetch, DataCall::get_elem)) {
        read_leaves(fetch, keys, std::move(then));
    } else {
        then({{}, {error_mark(fetch->wanted.row->name, "the provider cannot be asked for one entry")}}, true);
    }
}

void write_entry(Fetch &fetch, const std::vector<std::string> &key_texts, RowCells row)
{
    const model::Models &models = *fetch.agent.models;
    if (fetch.wanted.only != nullptr) {
        std::size_t i = 0;
        for (const lysc_node *key : model::keys_of_list(fetch.wanted.row))
            row.cells[key] = {false, {key_texts[i++]}};
        write_node(models, fetch.wanted.only, row, &fetch.out);
        fetch.out.insert(fetch.out.end(), row.marks.begin(), row.marks.end());
        return;
    }
    const lysc_node *list = fetch.wanted.row;
    fetch.out.push_back({});
    fetch.out.back().kind = proto::NodeKind::entry;
    fetch.out.back().name =
        model::data_parent(list) != nullptr ? list->name : std::string(list->module->name) + ":" + list->name;
    std::size_t i = 0;
    for (const lysc_node *key : model::keys_of_list(list)) {
        proto::TreeNode node;
        node.is_key = true;
        node.type = model::type_of(key);
        node.name = key->name;
        node.text = key_texts[i++];
        fetch.out.push_back(std::move(node));
    }
    write_children(models, list, row, &fetch.out);
    fetch.out.insert(fetch.out.end(), row.marks.begin(), row.marks.end());
    fetch.out.push_back({});
    fetch.out.back().kind = proto::NodeKind::end;
}

// The canonical texts of a row's keys. False: they are none of this list's.
bool texts_of(const Fetch &fetch, const Keys &keys, std::vector<std::string> *texts, std::string *why)
{
    const std::vector<const lysc_node *> leaves = model::keys_of_list(fetch.wanted.row);
    *why = "the provider sent " + std::to_string(keys.size()) + " keys";
    if (keys.size() != leaves.size()) return false;
    for (std::size_t i = 0; i < keys.size(); i++) {
        std::string text;
        std::string error;
        *why = std::string("the provider's key ") + leaves[i]->name + " does not fit";
        if (!model::value_text(leaves[i], keys[i], &text, &error)) return false;
        texts->push_back(std::move(text));
    }
    return true;
}

// Whether the walk may take this row: it ends with a mark at one that came before, and at its limits.
bool take_key(Fetch &fetch, const std::vector<std::string> &texts, std::string *why)
{
    std::string all;
    for (const std::string &text : texts)
        all.append(text).push_back('\0');
    *why = "the provider sent the same key again";
    if (!fetch.seen.insert(all).second) return false;
    *why = "the list is longer than " + std::to_string(max_rows) + " entries";
    if (++fetch.rows > max_rows) return false;
    *why = "the list took longer than " + std::to_string(max_walk.count()) + " s";
    return std::chrono::steady_clock::now() < fetch.deadline;
}

bool is_wanted(const Fetch &fetch, const std::vector<std::string> &texts)
{
    return fetch.wanted.key_texts.empty() || fetch.wanted.key_texts == texts;
}

void walk_keys(const FetchPtr &fetch, std::int64_t next);

void got_key(const FetchPtr &fetch, const proto::DataReply &reply)
{
    std::vector<std::string> texts;
    std::string why;
    if (!texts_of(*fetch, reply.keys, &texts, &why) || !take_key(*fetch, texts, &why)) {
        finish_failed(fetch, why);
        return;
    }
    const bool single = !fetch->wanted.key_texts.empty();
    if (!is_wanted(*fetch, texts)) {
        reply.next >= 0 ? walk_keys(fetch, reply.next) : finish(fetch);
        return;
    }
    fetch->open_rows++;
    read_row(fetch, reply.keys, [fetch, texts](const RowCells &row, bool found) {
        fetch->open_rows--;
        if (found) write_entry(*fetch, texts, row);
        if (fetch->ended) finish(fetch);
    });
    // The next key is asked for without waiting for the row, which halves the waiting. The provider sees the same calls
    // in the same order.
    reply.next < 0 || single ? finish(fetch) : walk_keys(fetch, reply.next);
}

void walk_keys(const FetchPtr &fetch, std::int64_t next)
{
    send(*fetch, DataCall::get_next, path_to(*fetch, fetch->wanted.row, {}), next, {},
         [fetch](const proto::DataReply &reply, const std::string &failure) {
             const bool ended = (reply.kind == DataKind::next_key && reply.keys.empty()) ||
                                (reply.kind == DataKind::next_object && reply.values.empty()) ||
                                reply.kind == DataKind::not_found;
             if (!failure.empty()) {
                 finish_failed(fetch, failure);
             } else if (ended) {
                 finish(fetch);
             } else if (reply.kind != DataKind::next_key) {
                 finish_failed(fetch, "the provider answered with something else");
             } else {
                 got_key(fetch, reply);
             }
         });
}

void walk_objects(const FetchPtr &fetch, DataCall which, std::int64_t next, const Keys &after);

// The keys of a row are among its values.
Keys keys_in(const Fetch &fetch, const std::vector<proto::TagValue> &values)
{
    Keys keys;
    for (const lysc_node *key : model::keys_of_list(fetch.wanted.row)) {
        const std::uint32_t tag = model::tag_of(*fetch.agent.models, key);
        const auto it =
            std::find_if(values.begin(), values.end(), [tag](const proto::TagValue &pair) { return pair.tag == tag; });
        if (it != values.end()) keys.push_back(it->value);
    }
    return keys;
}

void got_object(const FetchPtr &fetch, const proto::DataReply &reply)
{
    const Keys keys = keys_in(*fetch, reply.values);
    std::vector<std::string> texts;
    std::string why;
    if (!texts_of(*fetch, keys, &texts, &why) || !take_key(*fetch, texts, &why)) {
        finish_failed(fetch, why);
        return;
    }
    const bool single = !fetch->wanted.key_texts.empty();
    const bool wanted = is_wanted(*fetch, texts);
    if (wanted) write_entry(*fetch, texts, cells_of(*fetch->agent.models, fetch->wanted.row, reply.values));
    const bool more = !(wanted && single);
    if (more && reply.next >= 0) {
        walk_objects(fetch, DataCall::get_next_object, reply.next, {});
    } else if (more && can(*fetch, DataCall::find_next_object)) {
        walk_objects(fetch, DataCall::find_next_object, -1, keys);
    } else {
        finish(fetch);
    }
}

void walk_objects(const FetchPtr &fetch, DataCall which, std::int64_t next, const Keys &after)
{
    send(*fetch, which, path_to(*fetch, fetch->wanted.row, {}), next, after,
         [fetch](const proto::DataReply &reply, const std::string &failure) {
             const bool ended =
                 reply.kind == DataKind::not_found || (reply.kind == DataKind::next_object && reply.values.empty());
             if (!failure.empty()) {
                 finish_failed(fetch, failure);
             } else if (ended) {
                 finish(fetch);
             } else if (reply.kind != DataKind::next_object) {
                 finish_failed(fetch, "the provider answered with something else");
             } else {
                 got_object(fetch, reply);
             }
         });
}

void read_container(const FetchPtr &fetch)
{
    read_row(fetch, {}, [fetch](const RowCells &row, bool) {
        const model::Models &models = *fetch->agent.models;
        if (fetch->wanted.only != nullptr) {
            write_node(models, fetch->wanted.only, row, &fetch->out);
        } else {
            write_children(models, fetch->wanted.row, row, &fetch->out);
        }
        fetch->out.insert(fetch->out.end(), row.marks.begin(), row.marks.end());
        finish(fetch);
    });
}

void run(const FetchPtr &fetch)
{
    const Wanted &wanted = fetch->wanted;
    fetch->peer = owner_of(fetch->agent, model::PointKind::callpoint, wanted.callpoint, &fetch->calls);
    fetch->deadline = std::chrono::steady_clock::now() + max_walk;
    const bool whole = std::find(walked_whole.begin(), walked_whole.end(), wanted.callpoint) != walked_whole.end();
    if (fetch->peer == 0) {
        finish_failed(fetch, "nobody serves this: is the application running?");
    } else if (wanted.row->nodetype != LYS_LIST) {
        read_container(fetch);
    } else if (!wanted.keys.empty() && !whole) {
        read_row(fetch, wanted.keys, [fetch](const RowCells &row, bool found) {
            if (found) write_entry(*fetch, fetch->wanted.key_texts, row);
            finish(fetch);
        });
    } else if (can(*fetch, DataCall::get_next_object)) {
        walk_objects(fetch, DataCall::get_next_object, -1, {});
    } else if (can(*fetch, DataCall::get_next)) {
        walk_keys(fetch, -1);
    } else {
        finish_failed(fetch, "the provider cannot list its entries");
    }
}

} // namespace

void ask_provider(Agent &agent, PeerId asker, Wanted wanted, std::function<void(Nodes)> done)
{
    const auto fetch = std::make_shared<Fetch>(Fetch{agent, std::move(wanted), std::move(done), 0, 0, {}, {}, {}, 0});
    const auto [busy, is_free] = agent.providers.busy.try_emplace(fetch->wanted.callpoint);
    std::deque<QueuedWalk> &waiting = busy->second;
    const auto own =
        std::count_if(waiting.begin(), waiting.end(), [asker](const QueuedWalk &walk) { return walk.asker == asker; });
    if (is_free) {
        run(fetch);
    } else if (waiting.size() < max_queued_walks && static_cast<std::size_t>(own) < max_queued_of_peer) {
        waiting.push_back({asker, [fetch] { run(fetch); }});
    } else {
        fetch->done({error_mark(fetch->wanted.row->name, "too many reads of this are waiting")});
    }
}

} // namespace agent
