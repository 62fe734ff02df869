// Costs of the file logging framework against references measured in the same run:
//  - the caller's cost of one log call against spdlog's asynchronous logger on the same line;
//  - one ring buffer push + pop against a std::deque of records;
//  - the worker's sustained rate against its design ceiling (20 messages per 20 ms pass).
// bench/syslog.sh runs this in a private /mnt and prints the ratios.
#include "BofSystem.h"
#include "CRingBuffer.h"
#include "CSysLogCorvaneSource.h"
#include "CSysLogDestination.h"
#include "CSysLogMessage.h"
#include "CSysLogServer.h"
#include <array>
#include <atomic>
#include <benchmark/benchmark.h>
#include <chrono>
#include <deque>
#include <memory>
#include <spdlog/async.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>
#include <thread>

namespace
{
// No file: the ring fills and then evicts its oldest record on every call, its steady state.
constexpr unsigned BENCH_CHANNEL = 300;

void BM_CorvaneSourceLogMessage(benchmark::State& state)
{
    CSysLogServer& server = CSysLogServer::GetInstance();
    server.SetThreshold(BENCH_CHANNEL, SYSLOG_DEBUG);
    static auto* S_pSource = new CSysLogCorvaneSource(server, "/mnt/APPS/data/log/");
    int i = 0;
    for (auto _ : state)
    {
        S_pSource->LogMessage(BENCH_CHANNEL, 1, 0, 1, 1, "identity record read, serial %d, chassis %s", i++,
                              "KV5-4U");
    }
}
BENCHMARK(BM_CorvaneSourceLogMessage);

void BM_SpdlogAsyncLog(benchmark::State& state)
{
    static std::shared_ptr<spdlog::logger> S_Logger = []
    {
        spdlog::init_thread_pool(8192, 1);
        return spdlog::create_async_nb<spdlog::sinks::null_sink_mt>("bench");
    }();
    int i = 0;
    for (auto _ : state)
    {
        S_Logger->critical("identity record read, serial {}, chassis {}", i++, "KV5-4U");
    }
}
BENCHMARK(BM_SpdlogAsyncLog);

void BM_RingBufferPushPop(benchmark::State& state)
{
    static unsigned char S_pStorage_U8[65536];
    CRingBuffer ring(S_pStorage_U8, sizeof(S_pStorage_U8));
    CSysLogMessage message;
    char text[] = "identity record read, serial 123456789, chassis KV5-4U";
    message.MakeMessage(224, 1, 0, 0, 1, 1, 0, text);
    unsigned char out[sizeof(CSysLogMessage)];
    unsigned size = 0;
    for (auto _ : state)
    {
        ring.Push(reinterpret_cast<unsigned char*>(&message), message.GetWireSize());
        ring.Pop(out, &size);
        benchmark::DoNotOptimize(out);
    }
}
BENCHMARK(BM_RingBufferPushPop);

void BM_DequePushPop(benchmark::State& state)
{
    std::deque<std::array<unsigned char, sizeof(CSysLogMessage)>> queue;
    CSysLogMessage message;
    char text[] = "identity record read, serial 123456789, chassis KV5-4U";
    message.MakeMessage(224, 1, 0, 0, 1, 1, 0, text);
    std::array<unsigned char, sizeof(CSysLogMessage)> record;
    memcpy(record.data(), &message, sizeof(message));
    std::array<unsigned char, sizeof(CSysLogMessage)> out;
    for (auto _ : state)
    {
        queue.push_back(record);
        out = queue.front();
        queue.pop_front();
        benchmark::DoNotOptimize(out);
    }
}
BENCHMARK(BM_DequePushPop);

class CCountingDestination : public CSysLogDestination
{
public:
    int WriteMessage(CSysLogMessage* message) override
    {
        mWritten++;
        return message->mTextLength_U8;
    }
    bool IsReadyForReceiving() const override { return true; }
    void Flush() override {}
    std::atomic<uint64_t> mWritten{0};
};

// Messages per second that the worker moves while its source never runs dry.
void BM_WorkerSustainedRate(benchmark::State& state)
{
    constexpr unsigned CHANNEL = 301;
    CSysLogServer& server = CSysLogServer::GetInstance();
    static auto* S_pDestination = new CCountingDestination;
    static bool S_Linked = server.AddDestination(S_pDestination) && server.Link(0, CHANNEL, S_pDestination);
    server.SetThreshold(CHANNEL, SYSLOG_DEBUG);
    for (auto _ : state)
    {
        for (int i = 0; i < 4000; i++)
        {
            server.GetHostSource().LogMessage(CHANNEL, 1, 0, 0, 0, "sustained %d", i);
        }
        uint64_t start = S_pDestination->mWritten.load();
        auto begin = std::chrono::steady_clock::now();
        std::this_thread::sleep_for(std::chrono::seconds(2));
        double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        uint64_t written = S_pDestination->mWritten.load() - start;
        state.counters["messages_per_second"] = static_cast<double>(written) / seconds;
        state.counters["ceiling_per_second"] = 1000.0 * SYSLOG_MESSAGES_PER_PASS / SYSLOG_PASS_PERIOD_MS;
        state.counters["linked"] = S_Linked ? 1 : 0;
        server.Flush(0, 10240);
    }
}
BENCHMARK(BM_WorkerSustainedRate)->Iterations(1)->Unit(benchmark::kMillisecond);
} // namespace

BENCHMARK_MAIN();
