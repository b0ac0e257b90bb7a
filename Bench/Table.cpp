#include "Table.h"

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <optional>

namespace bench {
namespace {

constexpr int kRepetitions = 15;
constexpr double kSecondsARepetition = 0.05;

struct Row {
    std::string work;
    Run ours;
    std::vector<Contestant> peers;
};

struct Figures {
    std::string name;
    std::function<std::vector<std::string>()> find;
};

std::vector<Row>& Rows() {
    static std::vector<Row> rows;
    return rows;
}

std::vector<Figures>& AllFigures() {
    static std::vector<Figures> figures;
    return figures;
}

// Collects the medians of the runs of a row, in milliseconds, by contestant.
class MedianReporter final : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<benchmark::BenchmarkReporter::Run>& inRuns) override {
        for (const auto& run : inRuns) {
            if (run.error_occurred) errors[run.run_name.function_name] = run.error_message;
            if (run.run_type == benchmark::BenchmarkReporter::Run::RT_Aggregate &&
                run.aggregate_name == "median") {
                medians[run.run_name.function_name] = run.GetAdjustedRealTime();
            }
        }
    }

    std::map<std::string, double> medians;
    std::map<std::string, std::string> errors;
};

constexpr const char* kOurs = "ours";

void Register(const std::string& inName, const Run& inRun) {
    benchmark::RegisterBenchmark(inName.c_str(), inRun)
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond)
        ->Repetitions(kRepetitions)
        ->MinTime(kSecondsARepetition)
        ->ReportAggregatesOnly();
}

std::string TimeText(double inMilliseconds) {
    char text[32];
    if (inMilliseconds < 1e-3) {
        std::snprintf(text, sizeof(text), "%.1f ns", inMilliseconds * 1e6);
    } else if (inMilliseconds < 1) {
        std::snprintf(text, sizeof(text), "%.2f us", inMilliseconds * 1e3);
    } else {
        std::snprintf(text, sizeof(text), "%.3f ms", inMilliseconds);
    }
    return text;
}

struct Result {
    std::string work;
    double ours;
    std::string peer;
    double peerTime;
};

std::optional<Result> Measure(const Row& inRow, bool& ioHasFailed) {
    benchmark::ClearRegisteredBenchmarks();
    Register(kOurs, inRow.ours);
    for (const Contestant& peer : inRow.peers)
        Register(peer.name, peer.run);
    MedianReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    for (const auto& [name, message] : reporter.errors) {
        std::fprintf(stderr, "bench: %s, %s: %s\n", inRow.work.c_str(), name.c_str(),
                     message.c_str());
        ioHasFailed = true;
    }
    const auto ours = reporter.medians.find(kOurs);
    if (ours == reporter.medians.end()) return std::nullopt;
    Result result{inRow.work, ours->second, "-", 0};
    for (const auto& [name, median] : reporter.medians) {
        if (name == kOurs || (result.peerTime != 0 && median >= result.peerTime)) continue;
        result.peer = name;
        result.peerTime = median;
    }
    return result;
}

// Which row is being measured, where somebody looks on; the next line takes its place.
void ShowProgress(std::size_t inNumber, std::size_t inCount, const std::string& inWork) {
    if (isatty(STDERR_FILENO) == 0) return;
    std::fprintf(stderr, "\r\033[K%zu of %zu: %s\r", inNumber, inCount, inWork.c_str());
}

void PrintResult(const Result& inResult) {
    const bool hasPeer = inResult.peerTime != 0;
    std::printf("%-58s %11s  %-28s %11s", inResult.work.c_str(), TimeText(inResult.ours).c_str(),
                inResult.peer.c_str(), hasPeer ? TimeText(inResult.peerTime).c_str() : "-");
    if (hasPeer) std::printf(" %8.2f", inResult.ours / inResult.peerTime);
    std::printf("\n");
    std::fflush(stdout);
}

bool WriteCsv(const std::string& inFile, const std::vector<Result>& inResults) {
    std::ofstream csv(inFile);
    csv << "work,ours_ms,peer,peer_ms,ratio\n";
    for (const Result& result : inResults) {
        csv << '"' << result.work << "\"," << result.ours << ",\"" << result.peer << "\",";
        if (result.peerTime != 0)
            csv << result.peerTime << ',' << result.ours / result.peerTime;
        else
            csv << ',';
        csv << '\n';
    }
    csv.close();
    if (!csv) std::fprintf(stderr, "bench: %s: cannot be written\n", inFile.c_str());
    return static_cast<bool>(csv);
}

}  // namespace

void AddRow(const std::string& inWork, Run inOurs, const std::vector<Contestant>& inPeers) {
    Rows().push_back({inWork, std::move(inOurs), inPeers});
}

void AddFigures(const std::string& inName, std::function<std::vector<std::string>()> inFind) {
    AllFigures().push_back({inName, std::move(inFind)});
}

bool RunTable(const std::string& inOnly, const std::string& inCsv) {
    const auto wanted = [&](const std::string& inName) {
        return inName.find(inOnly) != std::string::npos;
    };
    std::vector<const Row*> rows;
    for (const Row& row : Rows()) {
        if (wanted(row.work)) rows.push_back(&row);
    }
    std::printf("%-58s %11s  %-28s %11s %8s\n", "work", "ours", "fastest peer", "its time",
                "ratio");
    std::vector<Result> results;
    bool hasFailed = false;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        ShowProgress(i + 1, rows.size(), rows[i]->work);
        if (const auto result = Measure(*rows[i], hasFailed)) {
            PrintResult(*result);
            results.push_back(*result);
        }
    }
    for (const Figures& figures : AllFigures()) {
        if (!wanted(figures.name)) continue;
        std::printf("\n%s\n", figures.name.c_str());
        for (const std::string& line : figures.find())
            std::printf("  %s\n", line.c_str());
    }
    const bool written = inCsv.empty() || WriteCsv(inCsv, results);
    return written && !hasFailed;
}

}  // namespace bench
