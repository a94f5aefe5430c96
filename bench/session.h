#pragma once
// A run of the benchmarks: pieces of work are timed, or their instructions counted, and each gives
// figures.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace bench {

// One measured number. Less is better, always.
struct Figure {
    std::string name; // AREA/WORK/WHAT
    std::string unit;
    double median = 0;
    double low = 0, high = 0; // the quartiles; of counts both are the median
};

struct Work {
    std::string name; // AREA/WORK
    std::string unit; // of which one run does `units`: "triangle", "word", "call"
    double units = 1;
    size_t words = 0; // of the stream that one run makes; 0 where that says nothing
    std::function<void()> run;
    // What `run` is set in proportion to, as "x WHAT"; null for nothing.
    std::function<void()> plain;
    std::string plainName;
    int rounds = 101;
};

struct Options {
    std::string only;         // areas and works whose names hold this text
    bool count = false;       // this process runs under the counter
    uint32_t rounds = 0;      // most rounds of a work, 0 for what each asks for
    std::string dll, korv;    // files: KORV32.dll, the tool
    std::string dllRenderers; // under the counter: the file that names those of the DLL
};

class Session {
  public:
    explicit Session(Options options) : options_(std::move(options)) {}

    const Options& TheOptions() const { return options_; }
    bool Counts() const { return options_.count; }
    // False where the user wants others alone; then nothing of it need be made ready.
    bool Wants(const std::string& name) const;
    // Runs `work` in rounds, in turn with its plain counterpart: time a unit, and the ratio of
    // the two. Under the counter it is run once and counted.
    void Measure(const Work& work);
    void Add(Figure figure) { figures_.push_back(std::move(figure)); }
    const std::vector<Figure>& Figures() const { return figures_; }

  private:
    Options options_;
    std::vector<Figure> figures_;
};

// Stores `words` one by one, as the renderers do, unrolled by 8, again and again over `ring`.
void StorePlain(const std::vector<uint32_t>& words, uint32_t* ring, size_t ringWords);

// Writes down where the DLL's renderers lie in its image, for a counted run, in which the DLL is
// only mapped: all that it does to bring a display up would trap.
void WriteDllRenderers(const Options& options, const std::string& file);

// The areas.
void MeasureTriangles(Session& session);
void MeasurePrimitives(Session& session);
void MeasureStates(Session& session);
void MeasureBuffers(Session& session);
void MeasureDownloads(Session& session);
void MeasureBlits(Session& session);
void MeasureHeap(Session& session);
void MeasureBoard(Session& session);
void MeasureDemo(Session& session);

} // namespace bench
