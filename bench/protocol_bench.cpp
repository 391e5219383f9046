#include <benchmark/benchmark.h>

#include "protocol/application.h"
#include "protocol/client.h"
#include "protocol/frame.h"

using namespace proto;

namespace {

DataReply row_of(int leaves)
{
    DataReply row;
    row.kind = DataKind::object;
    for (int i = 0; i < leaves; i++) {
        row.values.push_back({static_cast<std::uint32_t>(i), 0, make_number(ValueType::uint64, i)});
    }
    return row;
}

void encode_row(benchmark::State &state)
{
    const DataReplies row{{row_of(30)}};
    while (state.KeepRunning())
        benchmark::DoNotOptimize(make_frame(Op::reply, 1, encode(row)));
}
BENCHMARK(encode_row);

void decode_row(benchmark::State &state)
{
    const std::string stream = make_frame(Op::reply, 1, encode(DataReplies{{row_of(30)}}));
    while (state.KeepRunning()) {
        Frame frame;
        std::size_t used = 0;
        DataReplies row;
        if (next_frame(stream, &frame, &used) != Parse::complete || !decode(frame.payload, &row)) abort();
        benchmark::DoNotOptimize(row);
    }
}
BENCHMARK(decode_row);

void value_text(benchmark::State &state)
{
    Value address;
    from_text(ValueType::ipv4, "192.168.100.100", &address);
    while (state.KeepRunning())
        benchmark::DoNotOptimize(to_text(address));
}
BENCHMARK(value_text);

} // namespace
