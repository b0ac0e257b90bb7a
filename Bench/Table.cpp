#include "Table.h"

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

// Collects the medians, in milliseconds, by the name of the run.
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

std::string RunName(const Row& inRow, const std::string& inContestant) {
    return inRow.work + "|" + inContestant;
}

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

std::optional<Result> FindResult(const Row& inRow, const MedianReporter& inReporter) {
    const auto ours = inReporter.medians.find(RunName(inRow, "ours"));
    if (ours == inReporter.medians.end()) return std::nullopt;
    Result result{inRow.work, ours->second, "-", 0};
    for (const Contestant& peer : inRow.peers) {
        const auto found = inReporter.medians.find(RunName(inRow, peer.name));
        if (found == inReporter.medians.end()) continue;
        if (result.peerTime == 0 || found->second < result.peerTime) {
            result.peer = peer.name;
            result.peerTime = found->second;
        }
    }
    return result;
}

void PrintResult(const Result& inResult) {
    const bool hasPeer = inResult.peerTime != 0;
    std::printf("%-58s %11s  %-28s %11s", inResult.work.c_str(), TimeText(inResult.ours).c_str(),
                inResult.peer.c_str(), hasPeer ? TimeText(inResult.peerTime).c_str() : "-");
    if (hasPeer) std::printf(" %8.2f", inResult.ours / inResult.peerTime);
    std::printf("\n");
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
    bool any = false;
    for (const Row& row : Rows()) {
        if (!wanted(row.work)) continue;
        any = true;
        Register(RunName(row, "ours"), row.ours);
        for (const Contestant& peer : row.peers)
            Register(RunName(row, peer.name), peer.run);
    }
    MedianReporter reporter;
    if (any) benchmark::RunSpecifiedBenchmarks(&reporter);

    std::printf("%-58s %11s  %-28s %11s %8s\n", "work", "ours", "fastest peer", "its time",
                "ratio");
    std::vector<Result> results;
    for (const Row& row : Rows()) {
        if (const auto result = FindResult(row, reporter)) {
            PrintResult(*result);
            results.push_back(*result);
        }
    }
    for (const auto& [name, message] : reporter.errors) {
        std::fprintf(stderr, "bench: %s: %s\n", name.c_str(), message.c_str());
    }
    for (const Figures& figures : AllFigures()) {
        if (!wanted(figures.name)) continue;
        std::printf("\n%s\n", figures.name.c_str());
        for (const std::string& line : figures.find())
            std::printf("  %s\n", line.c_str());
    }
    const bool written = inCsv.empty() || WriteCsv(inCsv, results);
    return written && reporter.errors.empty();
}

}  // namespace bench
