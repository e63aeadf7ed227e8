#include "Report.hpp"

#include <cstdlib>
#include <string_view>
#include <thread>

#include <fmt/format.h>

namespace orv::bench {
namespace {

/// The parts of a line of the table.
struct Line {
    std::string tool, median, spread, cpu, memory, ratio, bar;
};

constexpr std::string_view markdown_line = "| {} | {} | {} | {} | {} | {} | {} |\n";
constexpr std::string_view text_line = "  {:15} {:>10}  {:>21}  {:>9}  {:>9}  {:>6}  {}\n";

std::string duration(double seconds)
{
    if (seconds < 0.1)
        return fmt::format("{:.2f} ms", seconds * 1e3);
    return fmt::format("{:.3f} s", seconds);
}

std::string megabytes(double bytes)
{
    return fmt::format("{:.1f} MB", bytes / 1e6);
}

std::string_view verdict(bool met)
{
    return met ? "met" : "missed";
}

/// What the row's tool took of what `bar` is about.
double taken(const Row& row, const Bar& bar)
{
    switch (bar.of) {
    case Bar::Of::time:
        return row.figures->median;
    case Bar::Of::size:
        return static_cast<double>(row.file_bytes);
    case Bar::Of::memory:
        break;
    }
    return static_cast<double>(row.figures->peak_bytes);
}

std::string text_of(const Bar& bar, const Row& ours, const Row& row)
{
    const double own = taken(ours, bar);
    if (bar.peer.empty())
        return fmt::format("at most {}: {}",
                           bar.of == Bar::Of::time ? duration(bar.most) : megabytes(bar.most),
                           verdict(own <= bar.most));
    const double peer = taken(row, bar);
    const std::string text =
        fmt::format("at most {:.2f}: {}", bar.most, verdict(own <= bar.most * peer));
    return bar.of == Bar::Of::size ? fmt::format("size {:.3f}, {}", own / peer, text) : text;
}

/// What is said of the bars that `row` is the peer of; `ours` is the first tool's row.
std::string bar_text(const Benchmark& benchmark, const Row& ours, const Row& row)
{
    std::string text;
    for (const Bar& bar : benchmark.bars)
        if (bar.peer.empty() ? &row == &ours : bar.peer == row.tool)
            text += (text.empty() ? "" : "; ") + text_of(bar, ours, row);
    return text;
}

Line line_of(const Benchmark& benchmark, const Row& ours, const Row& row)
{
    if (!row.figures)
        return {row.tool, "not installed", "", "", "", "", ""};
    const Summary& figures = *row.figures;
    const bool is_ours = &row == &ours;
    return {row.tool,
            duration(figures.median),
            duration(figures.min) + " to " + duration(figures.max),
            duration(figures.median_cpu),
            megabytes(static_cast<double>(figures.peak_bytes)),
            is_ours ? "" : fmt::format("{:.2f}", ours.figures->median / figures.median),
            bar_text(benchmark, ours, row)};
}

std::string title_of(const Benchmark& benchmark, bool markdown)
{
    return markdown ? "| **" + benchmark.title + "** | | | | | | |\n"
                    : "\n" + benchmark.title + "\n";
}

/// A name such as "find | sort" as it is written in a table's cell.
std::string cell(std::string text)
{
    for (auto at = text.find('|'); at != std::string::npos; at = text.find('|', at + 2))
        text.insert(at, 1, '\\');
    return text;
}

std::string text_of(const Line& line, bool markdown)
{
    return fmt::format(fmt::runtime(markdown ? markdown_line : text_line),
                       markdown ? cell(line.tool) : line.tool, line.median, line.spread, line.cpu,
                       line.memory, line.ratio, line.bar);
}

} // namespace

std::string heading(const Bench& bench, bool markdown)
{
    double load = 0;
    ::getloadavg(&load, 1);
    const std::string text =
        fmt::format("Medians of {} runs on {} cores (load at the start: {:.1f}): time, smallest to "
                    "largest time, processor time, largest memory. The ratio is orv's time as a "
                    "part of the tool's.\n",
                    bench.runs, std::thread::hardware_concurrency(), load);
    if (!markdown)
        return text;
    return text + "\n| | time | smallest to largest | processor | memory | ratio | bar |\n"
                  "|---|---:|---:|---:|---:|---:|---|\n";
}

std::string report(const Benchmark& benchmark, const std::vector<Row>& rows, bool markdown)
{
    std::string text = title_of(benchmark, markdown);
    for (const Row& row : rows)
        text += text_of(line_of(benchmark, rows.front(), row), markdown);
    return text;
}

std::string skipped(const Benchmark& benchmark, const std::string& reason, bool markdown)
{
    const std::string text = "skipped: " + reason;
    return title_of(benchmark, markdown) +
           (markdown ? "| " + text + " | | | | | | |\n" : "  " + text + "\n");
}

} // namespace orv::bench
