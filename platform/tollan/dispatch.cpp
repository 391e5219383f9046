#include "platform/tollan/dispatch.h"

#include "platform/confd/convert.h"
#include "protocol/hello.h"

namespace tollan {

namespace {

void answer(Module *module, const proto::Frame &request, const std::string &payload)
{
    if (request.id != 0) post(&module->link, proto::Op::reply, request.id, payload);
}

void answer_error(Module *module, const proto::Frame &request, proto::ErrorCode code, const char *text)
{
    proto::Error error;
    error.code = code;
    error.text = text;
    if (request.id != 0) post(&module->link, proto::Op::error, request.id, encode(error));
}

// Decodes a request; answers one that cannot be read.
template <typename Record> bool read_request(Module *module, const proto::Frame &frame, Record *record)
{
    if (decode(frame.payload, record)) return true;
    answer_error(module, frame, proto::ErrorCode::malformed, "the request cannot be read");
    return false;
}

int run_handler(Module *module, const proto::Deliver &delivery)
{
    const tollan_subscription &row = module->params.subscriptions[delivery.row];
    if (!row.handler) return CONFD_OK;
    confd::Arena arena;
    std::vector<confd_value_t> keys = confd::to_c(delivery.keys, &arena);
    std::vector<confd_tag_value_t> values = confd::to_c(delivery.values, &arena);
    tollan_change_ctx context = {&module->handle};
    return row.handler(&context, delivery.operation, static_cast<int>(keys.size()), keys.data(),
                       static_cast<std::uint16_t>(values.size()), values.data());
}

// A call counts as done when its handler has returned, also when the answer does not reach the agent any more: the next
// registration says so. Operational changes are never repeated, hence not counted.
void take_delivery(Module *module, const proto::Frame &frame)
{
    proto::Deliver delivery;
    if (!read_request(module, frame, &delivery)) return;
    proto::Status status;
    bool operational = false;
    if (delivery.row < module->rows) {
        status.status = run_handler(module, delivery);
        operational = (module->params.subscriptions[delivery.row].oper & proto::on_operational) != 0;
    } else {
        status.status = CONFD_ERR;
        status.text = "there is no such subscription";
    }
    if (!operational) {
        module->last_txid = delivery.txid;
        module->last_done = delivery.index + 1;
    }
    answer(module, frame, encode(status));
}

const confd_valpoint_cb *find_validation(const Module &module, const std::string &name)
{
    const confd_valpoint_cb *row = module.params.validation_points;
    for (; row && row->valpoint[0] != '\0'; row++) {
        if (name == row->valpoint) return row;
    }
    return nullptr;
}

void take_validation(Module *module, const proto::Frame &frame)
{
    proto::CallValidate call;
    if (!read_request(module, frame, &call)) return;
    const confd_valpoint_cb *row = find_validation(*module, call.point);
    confd::Arena arena;
    confd_hkeypath_t path;
    if (!row || !row->validate || !confd::to_c(call.path, &arena, &path)) {
        answer_error(module, frame, proto::ErrorCode::unavailable, "the validation point is not served here");
        return;
    }
    confd::Transaction transaction;
    transaction.handle.dx = &module->dx.handle;
    confd_value_t value = confd::to_c(call.value, &arena);
    proto::Status status;
    status.status = row->validate(&transaction.handle, &path, &value);
    status.text = transaction.text;
    answer(module, frame, encode(status));
}

const confd_action_cbs *find_action(const Module &module, const std::string &name)
{
    const confd_action_cbs *row = module.params.action_points;
    for (; row && row->actionpoint[0] != '\0'; row++) {
        if (name == row->actionpoint) return row;
    }
    return nullptr;
}

void take_action(Module *module, const proto::Frame &frame)
{
    proto::CallAction call;
    if (!read_request(module, frame, &call)) return;
    const confd_action_cbs *row = find_action(*module, call.point);
    confd::Arena arena;
    confd_hkeypath_t path;
    if (!row || !row->action || !confd::to_c(call.path, &arena, &path)) {
        answer_error(module, frame, proto::ErrorCode::unavailable, "the action point is not served here");
        return;
    }
    confd_user_info user = {&module->dx.handle};
    confd_xmltag name = path.v[0][0].type == C_XMLTAG ? path.v[0][0].val.xmltag : confd_xmltag{};
    std::vector<confd_tag_value_t> params = confd::to_c(call.values, &arena);
    proto::Status status;
    status.status = row->action(&user, &name, &path, params.data(), static_cast<int>(params.size()));
    answer(module, frame, encode(status));
}

void take_data_call(Module *module, const proto::Frame &frame)
{
    proto::CallData call;
    if (read_request(module, frame, &call)) answer(module, frame, encode(confd::answer_call(&module->dx, call)));
}

} // namespace

void dispatch(Module *module, const proto::Frame &frame)
{
    switch (frame.op) {
    case proto::Op::deliver:
        take_delivery(module, frame);
        break;
    case proto::Op::call_validate:
        take_validation(module, frame);
        break;
    case proto::Op::call_action:
        take_action(module, frame);
        break;
    case proto::Op::call_data:
        take_data_call(module, frame);
        break;
    case proto::Op::reply:
    case proto::Op::error: // nothing was asked
        break;
    default:
        answer_error(module, frame, proto::ErrorCode::unknown_op, "an application does not serve this");
        break;
    }
}

} // namespace tollan
