// The grid model at a million rows: filling with AddItem, numeric and text
// Sort, FilterOn ("Search Like", "Search BeginsWith") and FindItem, on one
// seeded mix of texts, numbers and dates in ten columns. Each sort is also
// measured against std::sort of the same keys parsed beforehand, and, when
// the build found Qt 5, everything against what a Qt program would use:
// QStandardItemModel, QSortFilterProxyModel and match(). Ends with a table
// of our times as ratios.
//
// Memory: "bytesPerRow" is what the grid holds per row beyond the bytes of
// the cell texts themselves; "heldMB" and "peakMB" are the resident memory
// the fill leaves and the most it reached, both above what the process held
// before.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "kelvara/base/Text.h"
#include "kelvara/grid/GridModel.h"
#include "kelvara/grid/detail/TextRules.h"

#ifdef KELVARA_BENCH_QT
#include <QCoreApplication>
#include <QRegularExpression>
#include <QSortFilterProxyModel>
#include <QStandardItemModel>
#endif

namespace {

using kelvara::GRID_DATA_TYPE;
using kelvara::GRID_SEARCH_MODE;
using kelvara::GRID_SORT_TYPE;
using kelvara::GridModel;

constexpr int32_t kRows = 1000000;
constexpr int32_t kColumns = 10;
constexpr int32_t kNameColumn = 0;
constexpr int32_t kValueColumn = 1;
// The row FindItem looks for: the last one, so the whole column is read.
const char* const kFindText = "cliente 0999999 souza";

const GRID_DATA_TYPE kTypes[kColumns] = {GRID_DATA_TYPE::TypeString,  GRID_DATA_TYPE::TypeNumeric,
                                         GRID_DATA_TYPE::TypeDate,    GRID_DATA_TYPE::TypeString,
                                         GRID_DATA_TYPE::TypeNumeric, GRID_DATA_TYPE::TypeString,
                                         GRID_DATA_TYPE::TypeNumeric, GRID_DATA_TYPE::TypeDate,
                                         GRID_DATA_TYPE::TypeString,  GRID_DATA_TYPE::TypeString};

// Rows as AddItem takes them: ten texts joined by tabs.
struct Data {
    std::vector<std::string> rows;
    size_t textBytes = 0;  // all cell texts, without the tabs
};

std::string TwoDigits(uint32_t n) {
    return std::string(1, static_cast<char>('0' + n / 10)) + static_cast<char>('0' + n % 10);
}

const Data& Rows() {
    static const Data data = [] {
        static const char* const kSurnames[] = {"Silva",    "Souza",   "Oliveira",  "Santos",
                                                "Pereira",  "Lima",    "Carvalho",  "Gomes",
                                                "Ferreira", "Almeida", "Conceição", "Gonçalves"};
        static const char* const kCities[] = {"São Paulo",    "Rio de Janeiro", "Belo Horizonte",
                                              "Curitiba",     "Recife",         "Natal",
                                              "Porto Alegre", "Salvador",       "Goiânia"};
        static const char* const kStatus[] = {"Ativo", "Inativo", "Pendente"};
        std::mt19937 random(42);
        Data d;
        d.rows.reserve(kRows);
        for (int32_t r = 0; r < kRows; ++r) {
            char number[16];
            std::snprintf(number, sizeof number, "%07u",
                          static_cast<unsigned>(random() % 10000000));
            const bool last = r == kRows - 1;
            std::string cells[kColumns];
            cells[0] = last ? "Cliente 0999999 Souza"
                            : std::string("Cliente ") + number + " " + kSurnames[random() % 12];
            const uint32_t value = random() % 10000000;
            const uint32_t kind = random() % 20;
            cells[1] =
                (kind == 0 ? "-" : "") + std::to_string(value / 100) + "," + TwoDigits(value % 100);
            if (kind == 1) {
                cells[1] = "R$ " + cells[1];
            }
            const auto date = [&] {
                return TwoDigits(1 + random() % 28) + "/" + TwoDigits(1 + random() % 12) + "/" +
                       std::to_string(1990 + random() % 35);
            };
            cells[2] = kind == 2 ? std::string() : date();
            cells[3] = kCities[random() % 9];
            cells[4] = std::to_string(random() % 10000);
            cells[5] = std::to_string(100 + random() % 900) + "." +
                       std::to_string(100 + random() % 900) + "." +
                       std::to_string(100 + random() % 900) + "-" + TwoDigits(random() % 100);
            cells[6] = std::to_string(random() % 1000);
            cells[7] = date();
            cells[8] = kStatus[random() % 3];
            cells[9] = "cliente" + std::to_string(r) + "@exemplo.com.br";
            std::string row;
            for (int32_t c = 0; c < kColumns; ++c) {
                d.textBytes += cells[c].size();
                row += cells[c];
                row += c + 1 < kColumns ? "\t" : "";
            }
            d.rows.push_back(std::move(row));
        }
        return d;
    }();
    return data;
}

// --- Resident memory (Linux) ---------------------------------------------------------------

int64_t StatusKilobytes(const char* field) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind(field, 0) == 0) {
            return std::atoll(line.c_str() + std::strlen(field));
        }
    }
    return 0;
}

// Starts the peak-resident count again from the present.
void ResetPeak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

struct MemoryProbe {
    int64_t before = StatusKilobytes("VmRSS:");
    MemoryProbe() { ResetPeak(); }
    void Report(benchmark::State& state) const {
        state.counters["heldMB"] = static_cast<double>(StatusKilobytes("VmRSS:") - before) / 1024;
        state.counters["peakMB"] = static_cast<double>(StatusKilobytes("VmHWM:") - before) / 1024;
    }
};

// --- Ours -------------------------------------------------------------------------------------

void AddColumns(GridModel& grid) {
    for (int32_t c = 0; c < kColumns; ++c) {
        kelvara::GridColumnOptions options;
        options.dataType = kTypes[c];
        grid.AddColumn("C" + std::to_string(c), options);
    }
}

void Fill(GridModel& grid) {
    AddColumns(grid);
    grid.BeginFill();
    for (const std::string& row : Rows().rows) {
        grid.AddItem(row);
    }
    grid.EndFill(-1, 0, false);
}

GridModel& FilledGrid() {
    static GridModel* grid = [] {
        auto* g = new GridModel();
        Fill(*g);
        return g;
    }();
    return *grid;
}

void OursAddItem(benchmark::State& state) {
    Rows();
    for (auto _ : state) {
        state.PauseTiming();
        auto grid = std::make_unique<GridModel>();
        const MemoryProbe probe;
        state.ResumeTiming();
        Fill(*grid);
        state.PauseTiming();
        probe.Report(state);
        const kelvara::GridMemory memory = grid->Memory();
        const double total = static_cast<double>(memory.rowBytes + memory.orderBytes +
                                                 memory.textBytes + memory.sideBytes);
        state.counters["bytesPerRow"] = (total - static_cast<double>(Rows().textBytes)) / kRows;
        state.counters["recordBytesPerRow"] =
            static_cast<double>(memory.rowBytes + memory.orderBytes) / kRows;
        grid.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kRows);
}

void OursSort(benchmark::State& state, int32_t column) {
    GridModel& grid = FilledGrid();
    for (auto _ : state) {
        state.PauseTiming();
        grid.Sort(column, static_cast<int32_t>(GRID_SORT_TYPE::SortNormal));
        state.ResumeTiming();
        grid.Sort(column, static_cast<int32_t>(GRID_SORT_TYPE::SortAscending));
    }
    state.SetItemsProcessed(state.iterations() * kRows);
}

// std::sort of the keys the grid sorts by, worked out beforehand, with the
// slot each belongs to.
template <typename Key>
void ReferenceSort(benchmark::State& state, const std::vector<std::pair<Key, int32_t>>& keys) {
    std::vector<std::pair<Key, int32_t>> work;
    for (auto _ : state) {
        state.PauseTiming();
        work = keys;
        state.ResumeTiming();
        std::sort(work.begin(), work.end(),
                  [](const auto& a, const auto& b) { return a.first < b.first; });
        benchmark::DoNotOptimize(work.data());
    }
    state.SetItemsProcessed(state.iterations() * kRows);
}

std::vector<std::string> Column(int32_t column) {
    std::vector<std::string> cells;
    cells.reserve(kRows);
    for (const std::string& row : Rows().rows) {
        cells.push_back(kelvara::Split(row, "\t")[column]);
    }
    return cells;
}

void NumericReference(benchmark::State& state) {
    static const auto keys = [] {
        std::vector<std::pair<double, int32_t>> k;
        int32_t slot = 0;
        for (const std::string& cell : Column(kValueColumn)) {
            k.emplace_back(kelvara::detail::TextToNumber(cell), slot++);
        }
        return k;
    }();
    ReferenceSort(state, keys);
}

void TextReference(benchmark::State& state) {
    static const auto keys = [] {
        std::vector<std::pair<std::string, int32_t>> k;
        int32_t slot = 0;
        for (const std::string& cell : Column(kNameColumn)) {
            k.emplace_back(kelvara::UCase(cell), slot++);
        }
        return k;
    }();
    ReferenceSort(state, keys);
}

void OursFilter(benchmark::State& state, GRID_SEARCH_MODE mode, const char* text) {
    GridModel& grid = FilledGrid();
    int32_t shown = 0;
    for (auto _ : state) {
        grid.FilterOn(text, kNameColumn, mode);
        state.PauseTiming();
        shown = 0;
        for (int32_t p = 0; p < grid.Rows(); ++p) {
            shown += grid.RowVisible(p);
        }
        grid.FilterOff();
        state.ResumeTiming();
    }
    state.counters["shown"] = shown;
    state.SetItemsProcessed(state.iterations() * kRows);
}

void OursFind(benchmark::State& state) {
    GridModel& grid = FilledGrid();
    grid.Sort(kNameColumn, static_cast<int32_t>(GRID_SORT_TYPE::SortNormal));
    int32_t found = -1;
    for (auto _ : state) {
        found = grid.FindItem(kFindText, 0, GRID_SEARCH_MODE::SearchEqual, false);
    }
    state.counters["found"] = found;
    state.SetItemsProcessed(state.iterations() * kRows);
}

// --- Qt ---------------------------------------------------------------------------------------

#ifdef KELVARA_BENCH_QT

// Numbers as a Qt program would keep them to sort by: a double in a role of
// its own, next to the text it shows.
constexpr int kNumberRole = Qt::UserRole + 1;

std::unique_ptr<QStandardItemModel> QtFill() {
    auto model = std::make_unique<QStandardItemModel>(0, kColumns);
    for (const std::string& row : Rows().rows) {
        QList<QStandardItem*> items;
        items.reserve(kColumns);
        size_t at = 0;
        for (int32_t c = 0; c < kColumns; ++c) {
            const size_t tab = row.find('\t', at);
            const std::string_view cell = std::string_view(row).substr(
                at, tab == std::string::npos ? std::string::npos : tab - at);
            auto* item =
                new QStandardItem(QString::fromUtf8(cell.data(), static_cast<int>(cell.size())));
            if (kTypes[c] == GRID_DATA_TYPE::TypeNumeric) {
                QString number = item->text();
                number.remove(QLatin1String("R$ "))
                    .remove(QLatin1Char('.'))
                    .replace(QLatin1Char(','), QLatin1Char('.'));
                item->setData(number.toDouble(), kNumberRole);
            }
            items.append(item);
            at = tab + 1;
        }
        model->appendRow(items);
    }
    return model;
}

QStandardItemModel& QtModel() {
    static QStandardItemModel* model = QtFill().release();
    return *model;
}

void QtAddItem(benchmark::State& state) {
    Rows();
    for (auto _ : state) {
        state.PauseTiming();
        const MemoryProbe probe;
        state.ResumeTiming();
        std::unique_ptr<QStandardItemModel> model = QtFill();
        state.PauseTiming();
        probe.Report(state);
        model.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kRows);
}

void QtSort(benchmark::State& state, int32_t column) {
    QStandardItemModel& model = QtModel();
    for (auto _ : state) {
        state.PauseTiming();
        auto proxy = std::make_unique<QSortFilterProxyModel>();
        proxy->setDynamicSortFilter(false);
        proxy->setSourceModel(&model);
        proxy->setSortCaseSensitivity(Qt::CaseInsensitive);
        proxy->setSortRole(kTypes[column] == GRID_DATA_TYPE::TypeNumeric ? kNumberRole
                                                                         : Qt::DisplayRole);
        state.ResumeTiming();
        proxy->sort(column, Qt::AscendingOrder);
        state.PauseTiming();
        proxy.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kRows);
}

// mapped: the proxy already shows every row when the filter is set, as in a
// window where the user then types a filter. Otherwise the proxy maps its
// rows for the first time through the filter.
void QtFilter(benchmark::State& state, GRID_SEARCH_MODE mode, const char* text, bool mapped) {
    QStandardItemModel& model = QtModel();
    int shown = 0;
    for (auto _ : state) {
        state.PauseTiming();
        auto proxy = std::make_unique<QSortFilterProxyModel>();
        proxy->setDynamicSortFilter(false);
        proxy->setSourceModel(&model);
        proxy->setFilterKeyColumn(kNameColumn);
        if (mapped) {
            proxy->rowCount();
        }
        state.ResumeTiming();
        if (mode == GRID_SEARCH_MODE::SearchLike) {
            proxy->setFilterCaseSensitivity(Qt::CaseInsensitive);
            proxy->setFilterFixedString(QString::fromUtf8(text));
        } else {
            proxy->setFilterRegularExpression(
                QRegularExpression("^" + QRegularExpression::escape(QString::fromUtf8(text))));
        }
        shown = proxy->rowCount();
        state.PauseTiming();
        proxy.reset();
        state.ResumeTiming();
    }
    state.counters["shown"] = shown;
    state.SetItemsProcessed(state.iterations() * kRows);
}

void QtFind(benchmark::State& state) {
    QStandardItemModel& model = QtModel();
    int found = -1;
    for (auto _ : state) {
        const QModelIndexList hits =
            model.match(model.index(0, kNameColumn), Qt::DisplayRole, QString::fromUtf8(kFindText),
                        1, Qt::MatchFixedString);
        found = hits.isEmpty() ? -1 : hits.first().row();
    }
    state.counters["found"] = found;
    state.SetItemsProcessed(state.iterations() * kRows);
}

#endif

// Keeps each case's best CPU time, for the ratios printed at the end.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred || run.run_type != Run::RT_Iteration) {
                continue;
            }
            std::string name = run.benchmark_name();
            name = name.substr(0, name.find("/iterations:"));
            const double time = run.GetAdjustedCPUTime();
            const auto [at, added] = times.emplace(name, time);
            if (!added && time < at->second) {
                at->second = time;
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void PrintRatio(const std::string& label, const std::string& ours, const std::string& peer) {
        const auto a = times.find(ours);
        const auto b = times.find(peer);
        if (a == times.end() || b == times.end()) {
            return;
        }
        std::printf("%-44s %8.3f\n", label.c_str(), a->second / b->second);
    }

private:
    std::map<std::string, double> times;
};

}  // namespace

int main(int argc, char** argv) {
#ifdef KELVARA_BENCH_QT
    QCoreApplication application(argc, argv);
#endif
    benchmark::Initialize(&argc, argv);
    const auto add = [](const char* name, auto function, int iterations) {
        benchmark::RegisterBenchmark(name, function)
            ->Unit(benchmark::kMillisecond)
            ->Iterations(iterations);
    };
    using Mode = GRID_SEARCH_MODE;
    add("grid/AddItem/ours", OursAddItem, 3);
    add(
        "grid/SortNumeric/ours", [](benchmark::State& s) { OursSort(s, kValueColumn); }, 5);
    add("grid/SortNumeric/std::sort", NumericReference, 5);
    add(
        "grid/SortText/ours", [](benchmark::State& s) { OursSort(s, kNameColumn); }, 5);
    add("grid/SortText/std::sort", TextReference, 5);
    add(
        "grid/FilterLike/ours",
        [](benchmark::State& s) { OursFilter(s, Mode::SearchLike, "silva"); }, 5);
    add(
        "grid/FilterBeginsWith/ours",
        [](benchmark::State& s) { OursFilter(s, Mode::SearchBeginsWith, "Cliente 12"); }, 5);
    add("grid/FindItem/ours", OursFind, 5);
#ifdef KELVARA_BENCH_QT
    add("grid/AddItem/qt", QtAddItem, 1);
    add(
        "grid/SortNumeric/qt", [](benchmark::State& s) { QtSort(s, kValueColumn); }, 2);
    add(
        "grid/SortText/qt", [](benchmark::State& s) { QtSort(s, kNameColumn); }, 2);
    add(
        "grid/FilterLike/qt",
        [](benchmark::State& s) { QtFilter(s, Mode::SearchLike, "silva", true); }, 1);
    add(
        "grid/FilterLike/qt-unmapped",
        [](benchmark::State& s) { QtFilter(s, Mode::SearchLike, "silva", false); }, 2);
    add(
        "grid/FilterBeginsWith/qt",
        [](benchmark::State& s) { QtFilter(s, Mode::SearchBeginsWith, "Cliente 12", true); }, 2);
    add(
        "grid/FilterBeginsWith/qt-unmapped",
        [](benchmark::State& s) { QtFilter(s, Mode::SearchBeginsWith, "Cliente 12", false); }, 2);
    add("grid/FindItem/qt", QtFind, 3);
#endif
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::printf("\nCPU time ratios (below 1: ours is faster)\n");
    reporter.PrintRatio("SortNumeric ours / std::sort of parsed keys", "grid/SortNumeric/ours",
                        "grid/SortNumeric/std::sort");
    reporter.PrintRatio("SortText ours / std::sort of uppercased keys", "grid/SortText/ours",
                        "grid/SortText/std::sort");
    for (const char* name :
         {"AddItem", "SortNumeric", "SortText", "FilterLike", "FilterBeginsWith", "FindItem"}) {
        const std::string base = std::string("grid/") + name;
        reporter.PrintRatio(std::string(name) + " ours / Qt", base + "/ours", base + "/qt");
    }
    for (const char* name : {"FilterLike", "FilterBeginsWith"}) {
        const std::string base = std::string("grid/") + name;
        reporter.PrintRatio(std::string(name) + " ours / Qt, proxy not yet mapped", base + "/ours",
                            base + "/qt-unmapped");
    }
    benchmark::Shutdown();
    return 0;
}
