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

constexpr std::uint16_t rows_at_once = 512; // of one answer, where rows need no calls of their own

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
};
using FetchPtr = std::shared_ptr<Fetch>;

using Replies = std::vector<proto::DataReply>;                                // at least one, unless they are a failure
using WithReplies = std::function<void(Replies, const std::string &failure)>; // what went wrong, or empty
using WithRow = std::function<void(RowCells, bool found)>;

bool can(const Fetch &fetch, DataCall call)
{
    return (fetch.calls & (1U << static_cast<unsigned>(call))) != 0;
}

void send(const Fetch &fetch, const proto::CallData &call, WithReplies then)
{
    call_peer(fetch.agent, fetch.peer, proto::Op::call_data, proto::encode(call), provider_limit,
              [then = std::move(then)](const Answer &answer) {
                  proto::DataReplies replies;
                  if (!answer.ok) {
                      then({}, answer.error.text);
                  } else if (!proto::decode(answer.payload, &replies) || replies.list.empty()) {
                      then({}, "the provider's answer cannot be read");
                  } else {
                      then(std::move(replies.list), "");
                  }
              });
}

// What the reply says of its own failure, or that it is of no kind that fits the call.
std::string failure_of(const proto::DataReply &reply, bool fits)
{
    if (reply.kind == DataKind::failed) {
        return reply.text.empty() ? "the provider reported failure" : proto::printable(reply.text);
    }
    return fits ? "" : "the provider answered with something else";
}

// The provider is free for the next; this read is over.
void finish(const FetchPtr &fetch)
{
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

proto::CallData call_of(const Fetch &fetch, DataCall which, proto::KeyPath path)
{
    proto::CallData call;
    call.callpoint = fetch.wanted.callpoint;
    call.call = which;
    call.path = std::move(path);
    return call;
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
        send(*fetch, call_of(*fetch, DataCall::get_elem, path_to(*fetch, leaf, keys)),
             [row, open, when_all, leaf](const Replies &replies, const std::string &failure) {
                 const DataKind kind = failure.empty() ? replies.front().kind : DataKind::failed;
                 const bool fits = kind == DataKind::value || kind == DataKind::not_found;
                 const std::string why = failure.empty() ? failure_of(replies.front(), fits) : failure;
                 if (!why.empty()) {
                     row->cells[leaf] = {true, {why}};
                 } else if (kind == DataKind::value) {
                     row->cells[leaf] = cell_of(leaf, replies.front().value);
                 }
                 if (--*open == 0) (*when_all)(*row, !row->cells.empty());
             });
    }
}

// False: the provider has no such entry.
bool take_object(const Fetch &fetch, const proto::DataReply &reply, RowCells *row)
{
    const bool fits = reply.kind == DataKind::object || reply.kind == DataKind::not_found;
    const std::string why = failure_of(reply, fits);
    if (!why.empty()) row->marks.push_back(error_mark(fetch.wanted.row->name, why));
    if (!why.empty()) return true;
    if (reply.kind == DataKind::not_found || reply.values.empty()) return false;
    *row = cells_of(*fetch.agent.models, fetch.wanted.row, reply.values);
    return true;
}

void read_object(const FetchPtr &fetch, const Keys &keys, WithRow then)
{
    send(*fetch, call_of(*fetch, DataCall::get_object, path_to(*fetch, fetch->wanted.row, keys)),
         [fetch, then = std::move(then)](const Replies &replies, const std::string &failure) {
             RowCells row;
             bool found = true;
             if (failure.empty()) {
                 found = take_object(*fetch, replies.front(), &row);
             } else {
                 row.marks.push_back(error_mark(fetch->wanted.row->name, failure));
             }
             then(std::move(row), found);
         });
}

// Whether rows are read whole. A leaf alone is asked for alone, where the provider can.
bool by_object(const Fetch &fetch)
{
    const lysc_node *only = fetch.wanted.only;
    const bool one_leaf = only != nullptr && only->nodetype != LYS_CONTAINER && !lysc_is_key(only);
    return can(fetch, DataCall::get_object) && !(one_leaf && can(fetch, DataCall::get_elem));
}

void read_row(const FetchPtr &fetch, const Keys &keys, WithRow then)
{
    if (by_object(*fetch)) {
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

// Where a walk stands: the call that goes on after the row with these keys.
struct Place {
    DataCall call = DataCall::get_next;
    std::int64_t next = -1;
    Keys keys;
};

// A walk for one entry reads keys as far as it can, and then the entry itself.
bool is_single(const Fetch &fetch)
{
    return !fetch.wanted.key_texts.empty();
}

bool walks_with_objects(const Fetch &fetch, DataCall call)
{
    return call == DataCall::get_next && !is_single(fetch) && by_object(fetch);
}

void walk(const FetchPtr &fetch, const Place &place);

void walk_on(const FetchPtr &fetch, const Place &place)
{
    if (place.next >= 0) {
        walk(fetch, {place.call == DataCall::get_next ? place.call : DataCall::get_next_object, place.next, {}});
    } else if (place.call != DataCall::get_next && can(*fetch, DataCall::find_next_object)) {
        walk(fetch, {DataCall::find_next_object, -1, place.keys});
    } else {
        finish(fetch);
    }
}

// The row of a key that came alone.
void read_row_of(const FetchPtr &fetch, const Place &place, const std::vector<std::string> &texts)
{
    read_row(fetch, place.keys, [fetch, place, texts](RowCells row, bool found) {
        if (found) write_entry(*fetch, texts, std::move(row));
        is_single(*fetch) ? finish(fetch) : walk_on(fetch, place);
    });
}

bool end_with(const FetchPtr &fetch, const std::string &why)
{
    why.empty() ? finish(fetch) : finish_failed(fetch, why);
    return false;
}

// The next row of an answer. False: the read is over, or goes on by itself.
bool take_row(const FetchPtr &fetch, const Replies &replies, std::size_t *at, Place *place)
{
    const bool by_key = place->call == DataCall::get_next;
    const proto::DataReply &reply = replies[(*at)++];
    const bool fits = reply.kind == (by_key ? DataKind::next_key : DataKind::next_object);
    std::string why = failure_of(reply, fits || reply.kind == DataKind::not_found);
    if (!why.empty() || !fits || (by_key ? reply.keys.empty() : reply.values.empty())) return end_with(fetch, why);
    place->next = reply.next;
    place->keys = by_key ? reply.keys : keys_in(*fetch, reply.values);
    std::vector<std::string> texts;
    if (!texts_of(*fetch, place->keys, &texts, &why) || !take_key(*fetch, texts, &why)) return end_with(fetch, why);
    if (!is_wanted(*fetch, texts)) return true;
    if (by_key && !walks_with_objects(*fetch, place->call)) {
        read_row_of(fetch, *place, texts);
        return false;
    }
    if (by_key && *at == replies.size()) return end_with(fetch, "the provider's answer ends before the row");
    RowCells row;
    if (!by_key) row = cells_of(*fetch->agent.models, fetch->wanted.row, reply.values);
    if (!by_key || take_object(*fetch, replies[(*at)++], &row)) write_entry(*fetch, texts, std::move(row));
    return is_single(*fetch) ? end_with(fetch, "") : true;
}

// Asks for many rows at once where no more is needed for each than one answer can hold.
void walk(const FetchPtr &fetch, const Place &place)
{
    proto::CallData call = call_of(*fetch, place.call, path_to(*fetch, fetch->wanted.row, {}));
    call.next = place.next;
    call.keys = place.keys;
    call.objects = walks_with_objects(*fetch, place.call);
    const bool row_by_row = place.call == DataCall::get_next && !call.objects && !is_single(*fetch);
    call.rows = row_by_row ? 1 : rows_at_once;
    send(*fetch, call, [fetch, which = place.call](const Replies &replies, const std::string &failure) {
        if (!failure.empty()) {
            finish_failed(fetch, failure);
            return;
        }
        Place reached = {which, -1, {}};
        std::size_t at = 0;
        while (at < replies.size()) {
            if (!take_row(fetch, replies, &at, &reached)) return;
        }
        walk_on(fetch, reached);
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
        walk(fetch, {DataCall::get_next_object, -1, {}});
    } else if (can(*fetch, DataCall::get_next)) {
        walk(fetch, {DataCall::get_next, -1, {}});
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
