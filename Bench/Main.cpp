#include <VideoFrame/VideoFrame.h>
#include <benchmark/benchmark.h>

#include <CLI/CLI.hpp>
#include <string>

#include "Table.h"

int main(int inCount, char** inArguments) {
    std::string only;
    std::string csv;
    bool pairs = false;
    CLI::App app(
        "Measures the library beside what a user would pick instead. Medians; one thread "
        "unless a row says otherwise; a ratio above 1 means that the peer is faster.");
    app.add_option("--only", only, "Run the rows whose name holds this word");
    app.add_option("--csv", csv, "Write the rows to this file as well");
    app.add_flag("--pairs", pairs, "Only convert every format into every other one");
    CLI11_PARSE(app, inCount, inArguments);

    if (pairs) {
        VF::Initialize();
        bench::PrintPairs();
        VF::Shutdown();
        return 0;
    }

    // So that all contestants of a row meet the same moods of the machine.
    std::string program = "bench";
    std::string interleave = "--benchmark_enable_random_interleaving=true";
    char* arguments[] = {program.data(), interleave.data()};
    int count = 2;
    benchmark::Initialize(&count, arguments);

    // These two start processes, so they come before the library and its threads.
    bench::AddSharingRows();
    bench::AddLiveRows();
    VF::Initialize();
    bench::AddFrameRows();
    bench::AddConvertRows();
    bench::AddDepthRows();
    bench::AddScaleRows();
    bench::AddScaleFormatRows();
    bench::AddBlendRows();
    bench::AddManipulatorRows();
    bench::AddDvRows();
    bench::AddBridgeRows();
    bench::AddRasterRows();
    bench::AddToolsRows();
    bench::AddMulticamRows();
    bench::AddCacheRows();
    const bool done = bench::RunTable(only, csv);
    VF::Shutdown();
    return done ? 0 : 1;
}
