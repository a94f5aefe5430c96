#include "board/commands.h"

#include "board/broken.h"
#include "board/pixel/texture_download.h"

#include <algorithm>

namespace board {

namespace {

SetupReport ReportOf(const SetupTriangle& triangle) {
    const auto edge = [](const Edge& one) { return SetupReport::Edge{one.position, one.step}; };
    SetupReport report{triangle.firstRow,
                       triangle.upperRows,
                       triangle.lowerRows,
                       edge(triangle.dominant),
                       edge(triangle.upper),
                       edge(triangle.lower),
                       {}};
    static_assert(std::tuple_size_v<decltype(report.values)> == Interpolants::kCount);
    for (size_t i = 0; i < report.values.size(); ++i) {
        const Interpolant& one = triangle.values[i];
        const bool set = one.value != 0 || one.dx != 0 || one.dyDom != 0;
        report.values[i] = {set, one.value, one.dx, one.dyDom};
    }
    return report;
}

} // namespace

void CommandUnit::Execute(RegisterWrite write) {
    registers_.Set(write.tag, write.data);
    if (setup_ && SetupUnit::Takes(write.tag)) {
        setup_->Write(write, registers_, faults_);
    }
    if (write.tag >= tag::TexelLUT0 && write.tag <= tag::TexelLUT15) {
        tables_.small.words[write.tag - tag::TexelLUT0] = write.data;
    }
    switch (write.tag) {
    case tag::FBReadMode:
        // Speaks for both sides of a copy, until FBWriteConfig follows with the destination's.
        if (chip_.IsPermedia()) {
            registers_.Set(tag::FBWriteConfig, write.data);
        }
        break;
    case tag::Render:
        Render();
        break;
    case tag::ContinueNewDom:
        if (break_ != Break::ContinueDominant) {
            rasteriser_.NewDominant(registers_);
        }
        interpolants_.NewDominant(registers_);
        DrawRows(write.data);
        break;
    case tag::ContinueNewSub:
        rasteriser_.NewSubordinate(registers_);
        DrawRows(write.data);
        break;
    case tag::Continue:
        DrawRows(write.data);
        break;
    case tag::ContinueNewLine:
        DrawSteps(write.data);
        break;
    case tag::DrawTriangle:
    case tag::RepeatTriangle:
        DrawStoredTriangle(write.data);
        break;
    case tag::DrawLine01:
        DrawStoredLine(0, 1, write.data);
        break;
    case tag::DrawLine10:
        DrawStoredLine(1, 0, write.data);
        break;
    case tag::Color:
        if (download_.Active()) {
            download_.Feed(write.data, DownloadTarget());
        }
        break;
    case tag::ConstantColor:
        // Without the colour unit fragments have the colour that was sent last, by either name.
        registers_.Set(tag::Color, write.data);
        break;
    case tag::TextureData:
        StoreTextureData(chip_, registers_, memories_, write.data, faults_, probe_);
        break;
    case tag::TexelLUTTransfer:
        TransferLookupTable(chip_, registers_, memories_, host_, tables_.large, faults_);
        if (registers_.Get(field::TexelLUTTransfer_Load) != 0) {
            BreakTable(break_, tables_.large);
        }
        break;
    case tag::ResetPickResult:
        pick_.Reset();
        break;
    case tag::PickResult:
        registers_.Set(tag::PickResult, pick_.Picked());
        Answer(tag::PickResult, pick_.Picked(), field::FilterMode_StatisticsTag,
               field::FilterMode_StatisticsData);
        break;
    case tag::Sync:
        Answer(tag::Sync, write.data, field::FilterMode_SyncTag, field::FilterMode_SyncData);
        break;
    default:
        break;
    }
}

void CommandUnit::Answer(uint32_t tagNumber, uint32_t data, const Field& tagField,
                         const Field& dataField) {
    const bool exchanged = break_ == Break::SyncTag;
    if (registers_.Get(exchanged ? dataField : tagField) != 0) {
        for (uint32_t i = 0; i < strayWords_; ++i) {
            output_.Push(tagNumber == tag::Sync ? tag::PickResult : tag::Sync);
        }
        output_.Push(tagNumber);
    }
    if (registers_.Get(exchanged ? tagField : dataField) != 0) {
        output_.Push(data);
    }
}

bool CommandUnit::CheckRender() {
    switch (registers_.Get(field::Render_Primitive)) {
    case primitive::Trapezoid:
    case primitive::Point:
        break;
    case primitive::Line:
        if (registers_.Get(field::LineStippleMode_Enable) != 0) {
            Unmodelled("line stipple");
        }
        break;
    default:
        Unmodelled("primitive 3");
        return false;
    }
    const bool hostData = registers_.Get(field::Render_SyncOnHostData) != 0;
    if (registers_.Get(field::Render_SyncOnBitMask) != 0) {
        Unmodelled("bit masks from the host");
        return false;
    }
    if (hostData && registers_.Get(field::Render_Primitive) != primitive::Trapezoid) {
        Unmodelled("host data for lines and points");
        return false;
    }
    if (hostData && registers_.Get(field::FBReadMode_ReadSource) != 0) {
        Unmodelled("copy with host data");
        return false;
    }
    const bool packedDownload = hostData && registers_.Get(field::FBReadMode_Packed) != 0;
    if (chip_.IsPermedia() && registers_[tag::FBReadPixel] == k4BitPixels && !packedDownload) {
        Unmodelled("4-bit pixels");
        return false;
    }
    if (registers_.Get(field::StencilMode_Enable) != 0) {
        Unmodelled("stencil");
    }
    return true;
}

void CommandUnit::Render() {
    if (!BeginPrimitive()) {
        return;
    }
    const uint32_t kind = registers_.Get(field::Render_Primitive);
    TellPrimitive(kind == primitive::Trapezoid ? PrimitiveKind::Trapezoid
                  : kind == primitive::Line    ? PrimitiveKind::Line
                                               : PrimitiveKind::Point);
    if (kind == primitive::Trapezoid) {
        rasteriser_.Begin(registers_);
        walk_ = Walk::Rows;
        fromHost_ = registers_.Get(field::Render_SyncOnHostData) != 0;
        if (fromHost_) {
            download_.Begin(chip_, registers_, pipeline_);
            decoded_.reset(); // words of the download become the state's colour
        }
        DrawRows(registers_[tag::Count]);
    } else {
        line_.Begin(registers_);
        if (break_ == Break::LineBias) {
            line_.Begin(EdgeOfWords(registers_[tag::StartXDom], registers_[tag::dXDom]),
                        EdgeOfWords(registers_[tag::StartY], registers_[tag::dY]));
        }
        walk_ = Walk::Steps;
        DrawSteps(registers_[tag::Count]);
    }
}

void CommandUnit::DrawStoredTriangle(uint32_t renderWord) {
    if (!HasSetupUnit()) {
        return;
    }
    registers_.Set(tag::Render, renderWord);
    if (!BeginPrimitive()) {
        return;
    }
    const auto triangle = setup_->Triangle(registers_, interpolants_, faults_);
    if (!triangle) {
        return;
    }
    TellPrimitive(PrimitiveKind::Triangle);
    if (probe_ != nullptr) {
        probe_->OnSetup(ReportOf(*triangle));
    }
    TakeSetup();
    rasteriser_.Begin(triangle->firstRow, triangle->dominant, triangle->upper);
    walk_ = Walk::Rows;
    DrawRows(triangle->upperRows);
    rasteriser_.NewSubordinate(triangle->lower);
    DrawRows(triangle->lowerRows);
    if (break_ == Break::VertexLost) {
        setup_.emplace();
    }
}

void CommandUnit::DrawStoredLine(uint32_t from, uint32_t to, uint32_t renderWord) {
    if (!HasSetupUnit()) {
        return;
    }
    registers_.Set(tag::Render, renderWord);
    if (!BeginPrimitive()) {
        return;
    }
    const auto line = setup_->Line(from, to, registers_, interpolants_, faults_);
    if (!line) {
        return;
    }
    TellPrimitive(PrimitiveKind::SetupLine);
    TakeSetup();
    line_.Begin(line->x, line->y);
    walk_ = Walk::Steps;
    DrawSteps(line->pixels + (break_ == Break::LineEnd ? 1 : 0));
}

void CommandUnit::SetBreak(Break what) {
    constexpr int64_t kLeastStep = 0x10000; // of edges in registers, 16.16
    break_ = what;
    rasteriser_.SetShift(what == Break::EdgeRule ? kLeastStep : 0);
}

void CommandUnit::TakeSetup() {
    if (break_ == Break::SetupOrder) {
        BreakInterpolants(break_, interpolants_);
    }
}

bool CommandUnit::HasSetupUnit() {
    if (!setup_) {
        Unmodelled("setup unit");
    }
    return setup_.has_value();
}

bool CommandUnit::BeginPrimitive() {
    walk_ = Walk::None;
    fromHost_ = false;
    download_.Stop();
    if (!CheckRender()) {
        return false;
    }
    registers_.BeginPrimitive();
    interpolants_.Load(registers_);
    DecodeModes();
    pick_.Configure(registers_);
    if (break_ != Break::None) {
        // The setup unit's own values come later.
        if (break_ != Break::SetupOrder) {
            BreakInterpolants(break_, interpolants_);
        }
        if (break_ == Break::PickInclusive) {
            pick_.Extend();
        }
    }
    return true;
}

void CommandUnit::Visit(StateVisitor& visit) {
    auto& [chip, registers, memories, host, output, faults, probe, broken, strayWords, setup,
           rasteriser, line, interpolants, pipeline, rows, decoded, decodeFaults, pick, tables,
           download, fromHost, walk, pixelsDrawn] = *this;
    visit.Value("strayWords", strayWords);
    if (setup) {
        visit.Within("setup", *setup);
    }
    visit.Within("rasteriser", rasteriser);
    visit.Within("line", line);
    visit.Within("interpolants", interpolants);
    visit.Within("pick", pick);
    visit.Within("tables", tables);
    visit.Within("download", download);
    visit.Value("fromHost", fromHost);
    visit.Value("walk", walk, Walk::None, Walk::Steps);
    visit.Value("pixelsDrawn", pixelsDrawn);
}

void CommandUnit::Rebuild() {
    decoded_.reset();
    if (walk_ == Walk::None) {
        return; // nothing can go on
    }
    FaultCounts counted; // when the primitive began
    registers_.ExchangePrimitive();
    pipeline_ = DecodePipeline(chip_, registers_, memories_, host_, tables_, counted);
    pipeline_.flatColour = FragmentColour(registers_);
    rows_ = PlanRows(pipeline_);
    pick_.Configure(registers_);
    if (fromHost_) {
        download_.Configure(chip_, registers_, pipeline_);
    }
    registers_.ExchangePrimitive();
}

void CommandUnit::DecodeModes() {
    const ModeKey key{registers_[tag::Render], registers_.Revision(), host_.Revision()};
    if (decoded_ != key) {
        decodeFaults_ = {};
        pipeline_ = DecodePipeline(chip_, registers_, memories_, host_, tables_, decodeFaults_);
        BreakState(break_, registers_, pipeline_);
        rows_ = PlanRows(pipeline_);
        decoded_ = key;
    }
    pipeline_.flatColour = FragmentColour(registers_);
    // What cannot be honoured counts for every primitive.
    for (const auto& [unit, times] : decodeFaults_.unmodelled) {
        faults_.unmodelled[unit] += times;
    }
}

bool CommandUnit::GoesOn(Walk walk) {
    if (walk_ != Walk::None && walk_ != walk) {
        Unmodelled("continuation of another kind of primitive");
    }
    return walk_ == walk;
}

void CommandUnit::DrawRows(uint32_t rows) {
    if (!GoesOn(Walk::Rows)) {
        return;
    }
    if (fromHost_) {
        download_.AddRows(rows & kRowCountMask, DownloadTarget());
        return;
    }
    if (break_ != Break::None) {
        WalkRows(rows, [this](const Span& span, const Interpolants& row) {
            DrawWrongSpan(pipeline_, BrokenSpan(break_, pipeline_, span), row, pick_, faults_);
        });
    } else if (probe_ != nullptr) {
        WalkRows(rows, [this](const Span& span, const Interpolants& row) {
            WatchSpan(pipeline_, &rows_, span, row, pick_, faults_, *probe_);
        });
    } else {
        WalkRows(rows, [this](const Span& span, const Interpolants& row) {
            DrawSpan(pipeline_, &rows_, span, row, pick_, faults_);
        });
    }
}

void CommandUnit::DrawSteps(uint32_t steps) {
    if (!GoesOn(Walk::Steps)) {
        return;
    }
    pixelsDrawn_ += steps & kRowCountMask;
    if (break_ != Break::None) {
        WalkSteps(steps, [this](const Span& span, const Interpolants& row) {
            DrawWrongSpan(pipeline_, span, row, pick_, faults_);
        });
    } else if (probe_ != nullptr) {
        WalkSteps(steps, [this](const Span& span, const Interpolants& row) {
            WatchSpan(pipeline_, nullptr, span, row, pick_, faults_, *probe_);
        });
    } else {
        WalkSteps(steps, [this](const Span& span, const Interpolants& row) {
            DrawSpan(pipeline_, nullptr, span, row, pick_, faults_);
        });
    }
}

template <typename Draw>
void CommandUnit::WalkRows(uint32_t rows, Draw&& draw) {
    rasteriser_.Walk(rows & kRowCountMask, [&](const Span& span) {
        draw(span, interpolants_);
        pixelsDrawn_ += static_cast<uint64_t>(std::max<int64_t>(span.right - span.left, 0));
        interpolants_.StepRow();
    });
}

template <typename Draw>
void CommandUnit::WalkSteps(uint32_t steps, Draw&& draw) {
    line_.Walk(steps & kRowCountMask, [&](int64_t x, int64_t y) {
        Span pixel{};
        pixel.y = y;
        pixel.left = x;
        pixel.right = x + 1;
        draw(pixel, interpolants_);
        interpolants_.StepRow();
    });
}

} // namespace board
