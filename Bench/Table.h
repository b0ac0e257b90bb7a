// Rows of the benchmark table: one piece of work, done by this library and by its peers.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

namespace bench {

using Run = std::function<void(benchmark::State&)>;

struct Contestant {
    std::string name;
    Run run;
};

/// Adds a row. The runs do the work once an iteration; they are measured in turns, and the table
/// shows the median of each and the fastest peer.
void AddRow(const std::string& inWork, Run inOurs, const std::vector<Contestant>& inPeers);

/// A figure that is no time, found by running the function after the rows; it returns the lines to
/// print under the name.
void AddFigures(const std::string& inName, std::function<std::vector<std::string>()> inFind);

/// Runs the rows whose name holds inOnly (all when empty), prints the table, and writes it as
/// "work,ours_ms,peer,peer_ms,ratio" to inCsv unless that is empty. False when that fails.
bool RunTable(const std::string& inOnly, const std::string& inCsv);

/// Measures the conversion of every format into every other one and prints the pairs, the dearest
/// first, and a summary by kinds of formats.
void PrintPairs();

// The rows of each file.
void AddFrameRows();
void AddSharingRows();
void AddConvertRows();
void AddDepthRows();
void AddScaleRows();
void AddScaleFormatRows();
void AddBlendRows();
void AddManipulatorRows();
void AddDvRows();
void AddBridgeRows();
void AddRasterRows();
void AddToolsRows();
void AddMulticamRows();
void AddCacheRows();
void AddLiveRows();

}  // namespace bench
