// Benchmarks inside one process, with Google Benchmark: steps of the toolkit beside a plain copy and
// Boost.CRC, and commands over a link in memory. The options are Google Benchmark's.
#include "bench_driver.h"
#include "crc.h"
#include "memory_link.h"
#include "sparse.h"

#include <QCoreApplication>

#include <benchmark/benchmark.h>
#include <boost/crc.hpp>

namespace {

constexpr int blockLength = 4096;

QByteArray block(int length = blockLength)
{
    QByteArray bytes(length, '\0');
    for (int i = 0; i < length; ++i)
        bytes[i] = static_cast<char>(i * 31 + i / 256);
    return bytes;
}

const unsigned char* start(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

/// Runs step(bytes) on a block of the length that the benchmark was registered with.
template<typename Step>
void runOnBlock(benchmark::State& state, Step step)
{
    const QByteArray bytes = block(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(step(bytes));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

QByteArray copied(const QByteArray& bytes)
{
    return QByteArray(bytes.constData(), bytes.size());
}

quint16 blockCrc(const QByteArray& bytes)
{
    return CRC16Calculate(start(bytes), bytes.size());
}

quint32 stepwiseCrc32(const QByteArray& bytes)
{
    quint32 crc = 0xFFFFFFFF;
    for (int i = 0; i < bytes.size(); ++i)
        crc = update_crc_32(crc, start(bytes)[i]);
    return ~crc;
}

template<typename Crc>
auto boostCrc(const QByteArray& bytes)
{
    Crc crc;
    crc.process_bytes(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    return crc.checksum();
}

using BoostCrc16 = boost::crc_optimal<16, 0x8005, 0, 0, true, true>;

QByteArray swappedRegisters(const QByteArray& bytes)
{
    return fromBigEndianUShortArray(start(bytes), bytes.size() / 2);
}

QByteArray swappedDoubleWords(const QByteArray& bytes)
{
    return fromBigEndianULongArray(start(bytes), bytes.size() / 4);
}

void addBlockBenchmarks()
{
    const auto add = [](const char* name, auto step) {
        for (int length : {250, blockLength})
            benchmark::RegisterBenchmark(name, [step](benchmark::State& state) {
                runOnBlock(state, step);
            })->Arg(length);
    };
    add("copy", copied);
    add("crc_16_block", blockCrc);
    add("crc_16_boost", boostCrc<BoostCrc16>);
    add("crc_32_steps", stepwiseCrc32);
    add("crc_32_boost", boostCrc<boost::crc_32_type>);
    add("swap_registers", swappedRegisters);
    add("swap_double_words", swappedDoubleWords);
}

void runCommands(benchmark::State& state, DriverInterface& driver, const MeasuredCommand& measured)
{
    MemoryLink link;
    const QByteArray data = measured.data();
    for (auto _ : state)
        runCommand(driver, link, measured, data);
}

using Drivers = std::vector<std::unique_ptr<DriverPlugin>>;

/// A driver that has loaded a project with these tags.
template<typename Tags>
DriverInterface& driverWith(const Tags& tags, Drivers& drivers)
{
    makeProject(tags);
    drivers.push_back(loadDriver());
    MemoryLink link;
    runCommand(drivers.back()->driver(), link, measuredCommands().first(), QByteArray());
    return drivers.back()->driver();
}

void addCommandBenchmarks(Drivers& drivers)
{
    DriverInterface& plain = driverWith(OneTag(), drivers);
    for (const MeasuredCommand& measured : measuredCommands())
        benchmark::RegisterBenchmark((std::string("command_") + measured.name).c_str(),
                                     [&](benchmark::State& state) { runCommands(state, plain, measured); });
    for (const SparseRead& sparse : sparseReads()) {
        DriverInterface& driver = driverWith(sparse, drivers);
        const std::string name =
            "sparse_" + std::to_string(sparse.bits) + "_" + std::to_string(sparse.percent);
        const MeasuredCommand measured = {"sparse read", sparse.command(), false, 0, 0};
        benchmark::RegisterBenchmark(name.c_str(), [measured, &driver](benchmark::State& state) {
            runCommands(state, driver, measured);
        });
    }
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    return reportFailure([&] {
        if (blockCrc(block()) != boostCrc<BoostCrc16>(block()) ||
            stepwiseCrc32(block()) != boostCrc<boost::crc_32_type>(block()))
            giveUp(QStringLiteral("a checksum is not that of Boost"));
        Drivers drivers;
        addBlockBenchmarks();
        addCommandBenchmarks(drivers);
        benchmark::RunSpecifiedBenchmarks();
    });
}
