// The caller's cost of one line: CRealTimeLog::Log against spdlog's asynchronous logger writing the
// same time-stamped line to a file. Both are timed in batches that fit their queues, and each batch
// starts with an idle writer, so neither side is measured waiting for the disk or dropping lines.
#include "CRealTimeLog.h"

#include <benchmark/benchmark.h>
#include <spdlog/async.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace
{
constexpr int BATCH = 500;
constexpr off_t PREFIX_LENGTH = 26;
#define LINE_FORMAT "switch %04d: board %s ready, reference %08x\r\n"

std::string TempFile(const char* name)
{
    static const std::string dir = []
    {
        char pattern[] = "/tmp/rtlog-bench-XXXXXX";
        return std::string(mkdtemp(pattern));
    }();
    return dir + "/" + name;
}

off_t SizeOf(const std::string& path)
{
    struct stat info = {};
    return stat(path.c_str(), &info) == 0 ? info.st_size : -1;
}

template <typename Predicate> void WaitUntil(Predicate done)
{
    for (int i = 0; i < 10000 && !done(); i++)
    {
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
}

void RealTimeLog(benchmark::State& state)
{
    const std::string path = TempFile("rtlog.log");
    unlink(path.c_str());
    CRealTimeLog log;
    log.SetMaxFileSize(0xFFFFFFFF);
    if (log.Open(path.c_str(), "wb") != 0)
    {
        state.SkipWithError("CRealTimeLog::Open failed");
        return;
    }
    off_t expected = 0;
    int64_t dropped = 0;
    for (auto _ : state)
    {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < BATCH; i++)
        {
            dropped += 1 - log.Log(1, LINE_FORMAT, i, "Q7K", i * 7919);
        }
        const auto end = std::chrono::steady_clock::now();
        state.SetIterationTime(std::chrono::duration<double>(end - start).count());
        for (int i = 0; i < BATCH; i++)
        {
            expected += PREFIX_LENGTH + snprintf(nullptr, 0, LINE_FORMAT, i, "Q7K", i * 7919);
        }
        WaitUntil([&] { return SizeOf(path) >= expected; });
    }
    if (dropped != 0)
    {
        state.SkipWithError("CRealTimeLog::Log dropped lines");
    }
    state.SetItemsProcessed(state.iterations() * BATCH);
}

void SpdlogAsync(benchmark::State& state)
{
    const std::string path = TempFile("spdlog.log");
    spdlog::init_thread_pool(8192, 1);
    auto logger = spdlog::create_async<spdlog::sinks::basic_file_sink_mt>("bench", path, true);
    logger->set_formatter(std::make_unique<spdlog::pattern_formatter>(
        "<%d/%m/%Y %H:%M:%S.%e> %v", spdlog::pattern_time_type::local, "\r\n"));
    for (auto _ : state)
    {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < BATCH; i++)
        {
            logger->info("switch {:04d}: board {} ready, reference {:08x}", i, "Q7K", i * 7919);
        }
        const auto end = std::chrono::steady_clock::now();
        state.SetIterationTime(std::chrono::duration<double>(end - start).count());
        WaitUntil([] { return spdlog::thread_pool()->queue_size() == 0; });
    }
    state.SetItemsProcessed(state.iterations() * BATCH);
    spdlog::drop_all();
    spdlog::shutdown();
}
} // namespace

BENCHMARK(RealTimeLog)->UseManualTime();
BENCHMARK(SpdlogAsync)->UseManualTime();
BENCHMARK_MAIN();
