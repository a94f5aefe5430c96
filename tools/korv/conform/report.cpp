#include "tools/korv/conform/report.h"

#include "tools/korv/base/files.h"
#include "tools/korv/base/text.h"
#include "tools/korv/conform/case_json.h"
#include "tools/korv/conform/pictures.h"
#include "tools/korv/images/png.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>

namespace korv::conform {

namespace {

using Kind = Result::Kind;

const char* NameOf(Kind kind) {
    switch (kind) {
    case Kind::Passed:
        return "passed";
    case Kind::Failed:
        return "failed";
    case Kind::Lost:
        return "lost";
    case Kind::Left:
        return "left";
    }
    return "";
}

// Units and chips in the order of the cases, and the counts of each pair.
struct Grid {
    std::vector<std::string> units, chips;
    std::map<std::pair<std::string, std::string>, Counts> cells;

    explicit Grid(std::span<const Result> results) {
        for (const Result& result : results) {
            Add(units, result.one->unit);
            Add(chips, result.one->chip);
            Count(cells[{result.one->unit, result.one->chip}], result.kind);
        }
    }
    static void Count(Counts& counts, Kind kind) {
        size_t& count = kind == Kind::Passed   ? counts.passed
                        : kind == Kind::Failed ? counts.failed
                        : kind == Kind::Lost   ? counts.lost
                                               : counts.left;
        ++count;
    }
    std::string Cell(const std::string& unit, const std::string& chip) const {
        const auto found = cells.find({unit, chip});
        if (found == cells.end()) {
            return "-";
        }
        const Counts& counts = found->second;
        return counts.Good() ? fmt::format("{}", counts.passed)
                             : fmt::format("{}/{}", counts.passed, counts.All());
    }

  private:
    static void Add(std::vector<std::string>& names, const std::string& name) {
        if (std::ranges::count(names, name) == 0) {
            names.push_back(name);
        }
    }
};

std::string PictureName(const Result& result, const PictureArea& area) {
    std::string name = result.one->id + "-" + area.name + ".png";
    std::ranges::replace(name, '/', '.');
    return name;
}

std::string Html(std::string_view text) {
    std::string safe;
    for (const char c : text) {
        switch (c) {
        case '&':
            safe += "&amp;";
            break;
        case '<':
            safe += "&lt;";
            break;
        case '>':
            safe += "&gt;";
            break;
        case '"':
            safe += "&quot;";
            break;
        default:
            safe += c;
        }
    }
    return safe;
}

constexpr const char* kHead = R"(<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8"><title>Conformance of {0}</title><style>
body {{ font: 15px/1.45 system-ui, sans-serif; max-width: 70rem; margin: 2rem auto; padding: 0 1rem; }}
table {{ border-collapse: collapse; }}
th, td {{ border: 1px solid #999; padding: .15rem .6rem; text-align: right; }}
th:first-child {{ text-align: left; }}
.good {{ background: #d8f0d8; }} .bad {{ background: #f6d0cc; }}
article {{ border-top: 1px solid #999; margin-top: 1rem; }}
img {{ max-width: 100%; image-rendering: pixelated; }}
code {{ background: #eee; padding: 0 .2rem; }}
</style></head><body>
<h1>Conformance of {0}</h1>
<p>{1}</p>
)";

std::string Summary(const Counts& counts) {
    std::string text = fmt::format("{} of {} passed", counts.passed, Count(counts.All(), "case"));
    const auto add = [&text](size_t count, const char* what) {
        if (count != 0) {
            text += fmt::format(", {} {}", count, what);
        }
    };
    add(counts.failed, "failed");
    add(counts.lost, "lost");
    add(counts.left, "left out");
    return text;
}

std::string Page(std::span<const Result> results, const std::string& board) {
    const Grid grid(results);
    std::string page = fmt::format(kHead, Html(board), Summary(CountsOf(results)));
    page += "<table><tr><th>unit</th>";
    for (const std::string& chip : grid.chips) {
        page += "<th>" + Html(chip) + "</th>";
    }
    page += "</tr>\n";
    for (const std::string& unit : grid.units) {
        page += "<tr><th>" + Html(unit) + "</th>";
        for (const std::string& chip : grid.chips) {
            const auto found = grid.cells.find({unit, chip});
            const char* look = found == grid.cells.end() ? ""
                               : found->second.Good()    ? "good"
                                                         : "bad";
            page += fmt::format("<td class=\"{}\">{}</td>", look, grid.Cell(unit, chip));
        }
        page += "</tr>\n";
    }
    page += "</table>\n";
    for (const Result& result : results) {
        if (result.kind == Kind::Passed || result.kind == Kind::Left) {
            continue;
        }
        page += fmt::format("<article><h2>{}</h2><p><b>{}</b>: {}</p>\n", Html(result.one->id),
                            NameOf(result.kind), Html(Printable(result.what)));
        if (!result.cause.empty()) {
            page += fmt::format("<p>By <code>{}</code>.</p>\n", Html(Printable(result.cause)));
        }
        if (result.kind == Kind::Failed) {
            for (const PictureArea& area : result.one->pictures) {
                page +=
                    fmt::format("<p>{}: expected, found, difference<br><img src=\"{}\" "
                                "alt=\"{} as expected, as found, and where they differ\"></p>\n",
                                Html(area.name), Html(PictureName(result, area)), Html(area.name));
            }
        }
        const auto tell = [&page](const char* title, const std::string& text) {
            if (!text.empty()) {
                page += fmt::format("<p>{}: {}</p>\n", title, Html(text));
            }
        };
        tell("Known", result.one->known);
        tell("Deduced", result.one->deduced);
        page += "</article>\n";
    }
    return page + "</body></html>\n";
}

std::span<const std::byte> Bytes(const std::string& text) {
    return std::as_bytes(std::span(text.data(), text.size()));
}

} // namespace

Counts CountsOf(std::span<const Result> results) {
    Counts counts;
    for (const Result& result : results) {
        Grid::Count(counts, result.kind);
    }
    return counts;
}

std::string Table(std::span<const Result> results) {
    constexpr size_t kGap = 2;
    const Grid grid(results);
    size_t first = 4;
    for (const std::string& unit : grid.units) {
        first = std::max(first, unit.size());
    }
    std::string table = fmt::format("{:{}}", "unit", first);
    std::vector<size_t> widths;
    for (const std::string& chip : grid.chips) {
        size_t width = chip.size();
        for (const std::string& unit : grid.units) {
            width = std::max(width, grid.Cell(unit, chip).size());
        }
        widths.push_back(width + kGap);
        table += fmt::format("{:>{}}", chip, widths.back());
    }
    table += '\n';
    for (const std::string& unit : grid.units) {
        table += fmt::format("{:{}}", unit, first);
        for (size_t i = 0; i < grid.chips.size(); ++i) {
            table += fmt::format("{:>{}}", grid.Cell(unit, grid.chips[i]), widths[i]);
        }
        table += '\n';
    }
    return table + Summary(CountsOf(results)) + "\n";
}

std::string LineOf(const Result& result) {
    std::string line = fmt::format("{} {}: {}", NameOf(result.kind), result.one->id, result.what);
    if (!result.cause.empty()) {
        line += "; by " + result.cause;
    }
    return Printable(line);
}

nlohmann::ordered_json ReportJson(std::span<const Result> results, const std::string& board) {
    const Counts counts = CountsOf(results);
    nlohmann::ordered_json json{{"kit", kKitVersion},      {"board", board},
                                {"cases", counts.All()},   {"passed", counts.passed},
                                {"failed", counts.failed}, {"lost", counts.lost},
                                {"left", counts.left}};
    auto& list = json["results"] = nlohmann::ordered_json::array();
    for (const Result& result : results) {
        nlohmann::ordered_json one = BriefJson(*result.one);
        one["result"] = NameOf(result.kind);
        if (!result.what.empty()) {
            one["what"] = Printable(result.what);
        }
        if (!result.cause.empty()) {
            one["by"] = Printable(result.cause);
        }
        if (result.kind == Kind::Failed) {
            one["wrongPixels"] = result.verdict.pixels;
            one["wrongBytes"] = result.verdict.bytes;
            one["wrongReads"] = result.verdict.reads;
        }
        list.push_back(std::move(one));
    }
    return json;
}

ReportFolder::ReportFolder(std::filesystem::path folder) : folder_(std::move(folder)) {
    MakeFolder(folder_);
}

void ReportFolder::Draw(const Result& result, const Outcome& expected, const Outcome& found) {
    for (const PictureArea& area : result.one->pictures) {
        WritePng(folder_ / PictureName(result, area), Comparison(area, expected, found));
    }
}

void ReportFolder::Finish(std::span<const Result> results, const std::string& board) {
    WriteFile(folder_ / "index.html", Bytes(Page(results, board)));
    WriteFile(folder_ / "results.json", Bytes(ReportJson(results, board).dump(2) + "\n"));
}

} // namespace korv::conform
