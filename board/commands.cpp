#include "board/commands.h"

namespace board {

namespace {

// Values of the Render word's primitive field.
enum Primitive : uint32_t { Line, Trapezoid, Point };

// Render bit 12: pixels wait for data from the host.
constexpr uint32_t kSyncOnHostData = 0x1000;

} // namespace

void CommandUnit::Execute(RegisterWrite write) {
    registers_.Set(write.tag, write.data);
    switch (write.tag) {
    case tag::Render:
        Render();
        break;
    case tag::ContinueNewDom:
        rasteriser_.NewDominant(registers_);
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
        Unmodelled("lines");
        break;
    case tag::DrawTriangle:
    case tag::RepeatTriangle:
    case tag::DrawLine01:
    case tag::DrawLine10:
        Unmodelled("setup unit");
        break;
    case tag::TextureData:
        Unmodelled("texture download");
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
        if (registers_.Get(field::FilterMode_SyncTag) != 0) {
            for (uint32_t i = 0; i < strayWords_; ++i) {
                output_.Push(tag::PickResult);
            }
        }
        Answer(tag::Sync, write.data, field::FilterMode_SyncTag, field::FilterMode_SyncData);
        break;
    default:
        break;
    }
}

void CommandUnit::Answer(uint32_t tagNumber, uint32_t data, const Field& tagField,
                         const Field& dataField) {
    if (registers_.Get(tagField) != 0) {
        output_.Push(tagNumber);
    }
    if (registers_.Get(dataField) != 0) {
        output_.Push(data);
    }
}

bool CommandUnit::CheckRender() {
    switch (registers_.Get(field::Render_Primitive)) {
    case Primitive::Trapezoid:
        break;
    case Primitive::Line:
        Unmodelled("lines");
        return false;
    case Primitive::Point:
        Unmodelled("points");
        return false;
    default:
        Unmodelled("primitive 3");
        return false;
    }
    if ((registers_[tag::Render] & kSyncOnHostData) != 0 ||
        registers_.Get(field::Render_SyncOnBitMask) != 0) {
        Unmodelled("host data download");
        return false;
    }
    if (registers_.Get(field::FBReadMode_ReadSource) != 0 ||
        registers_.Get(field::LBReadMode_ReadSource) != 0) {
        Unmodelled("copy");
        return false;
    }
    constexpr uint32_t k4Bits = 3;
    if (IsPermedia(chip_) && registers_[tag::FBReadPixel] == k4Bits) {
        Unmodelled("4-bit pixels");
        return false;
    }
    const Field& textureEnable =
        IsPermedia(chip_) ? field::TextureReadMode_Enable : field::GlintTextureReadMode_Enable;
    if (chip_ != Chip::SX && registers_.Get(field::Render_Texture) != 0 &&
        registers_.Get(textureEnable) != 0) {
        Unmodelled("texture unit");
    }
    if (registers_.Get(field::StencilMode_Enable) != 0) {
        Unmodelled("stencil");
    }
    return true;
}

void CommandUnit::Render() {
    drawing_ = CheckRender();
    if (!drawing_) {
        return;
    }
    rasteriser_.Begin(registers_);
    interpolants_.Load(registers_);
    pipeline_ = DecodePipeline(chip_, registers_, memories_, faults_);
    pick_.Configure(registers_);
    DrawRows(registers_[tag::Count]);
}

void CommandUnit::DrawRows(uint32_t rows) {
    if (!drawing_) {
        return;
    }
    rasteriser_.Walk(rows & kRowCountMask, [this](const Span& span) {
        DrawSpan(pipeline_, span, interpolants_, pick_, faults_);
        interpolants_.StepRow();
    });
}

} // namespace board
