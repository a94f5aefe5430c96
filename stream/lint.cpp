#include "stream/lint.h"

#include "board/values/register_names.h"
#include "chip/register_table.h"
#include "stream/decoder_state.h"
#include "stream/outside.h"
#include "stream/sent.h"
#include "stream/surfaces.h"

#include <algorithm>
#include <bitset>
#include <cstdlib>
#include <map>

namespace stream {

namespace {

constexpr RuleRow kRules[] = {
    {Rule::UnknownRegister, "unknown-register", true,
     "a register is written that this chip does not have"},
    {Rule::MalformedTag, "malformed-tag", true, "a word is taken for a tag word and is none"},
    {Rule::LostEntry, "lost-entry", true, "the input FIFO was full, and a word is lost"},
    {Rule::UnwaitedEntry, "unwaited-entry", true,
     "a word enters the FIFO whose room nobody asked for"},
    {Rule::UnitNotSetUp, "unit-not-set-up", true,
     "a unit draws whose registers nobody has written"},
    {Rule::OutsideSurfaces, "outside-surfaces", true,
     "memory is written that belongs to no surface"},
    {Rule::OverlapDirection, "overlap-direction", true,
     "a copy overwrites its source before it has read it"},
    {Rule::RedundantState, "redundant-state", false, "a register is set to what it holds already"},
    {Rule::EmptyBatch, "empty-batch", false, "a batch has nothing in it"},
};

// A register's bits from `bits` - 1 down, with sign.
int32_t Signed(uint32_t word, int bits) {
    return static_cast<int32_t>(word << (32 - bits)) >> (32 - bits);
}

class Linter {
  public:
    Linter(Player& player, const std::set<Rule>& rules)
        : player_(player), rules_(rules), chip_(player.From().Board().chip) {}

    std::vector<Finding> Run() {
        Source& source = player_.From();
        const bool captured = source.HasEvents();
        const bool watchFifo =
            captured && (rules_.contains(Rule::LostEntry) || rules_.contains(Rule::UnwaitedEntry));
        const bool watchMemory = captured && rules_.contains(Rule::OutsideSurfaces);
        Event event;
        while (player_.Next(event)) {
            const Position behind = source.At();
            at_ = behind;
            isWord_ = true;
            if (event.kind != EventKind::Mark && event.kind != EventKind::State) {
                --at_.event;
                at_.word -= event.IsWord() ? 1 : 0;
                isWord_ = event.IsWord();
            }
            if (watchMemory && event.kind == EventKind::Mark) {
                LookOutside(*event.mark);
            }
            player_.Play(event);
            Take(event);
            if (watchFifo &&
                (event.kind == EventKind::FifoWord || event.kind == EventKind::Write)) {
                LookAtFifo();
            }
            if (watchMemory) {
                FollowMemory(event);
            }
        }
        at_ = source.At();
        isWord_ = true;
        if (watchMemory && begun_) {
            LookOutside(Mark(MarkKind::Batch));
        }
        EndBatch();
        std::vector<Finding> all;
        for (auto& [key, finding] : findings_) {
            all.push_back(std::move(finding));
        }
        std::ranges::stable_sort(all, [](const Finding& a, const Finding& b) {
            return a.at.event != b.at.event ? a.at.event < b.at.event : a.rule < b.rule;
        });
        return all;
    }

  private:
    void Find(Rule rule, const std::string& subject, std::string text) {
        if (!rules_.contains(rule)) {
            return;
        }
        const auto [found, fresh] =
            findings_.try_emplace({rule, subject}, Finding{rule, at_, isWord_, 0, subject, {}});
        ++found->second.times;
        if (fresh) {
            found->second.text = std::move(text);
        }
    }

    void Take(const Event& event) {
        switch (event.kind) {
        case EventKind::FifoWord:
        case EventKind::DmaWord: {
            batchHasWords_ = true;
            board::RegisterWrite write{};
            switch (decoder_.Feed(event.value, write)) {
            case board::StreamDecoder::Kind::Data:
                TakeWrite(MappedOffset(write.tag), write.data);
                break;
            case board::StreamDecoder::Kind::Malformed: {
                std::string word;
                board::AppendHex(word, event.value, 8);
                Find(Rule::MalformedTag, {},
                     "word " + word + " stands where a tag word is due, and is none");
                break;
            }
            case board::StreamDecoder::Kind::Tag:
                break;
            }
            break;
        }
        case EventKind::Write:
            TakeWrite(event.offset, event.value);
            break;
        case EventKind::State:
            decoder_ = DecoderIn(event.bytes);
            registers_ = RegistersIn(event.bytes);
            written_.set();
            overflows_ = player_.Board().FaultReport().fifoOverflows;
            unwaited_ = Unwaited(player_.Board().FaultReport());
            break;
        case EventKind::Mark:
            surfaces_.Follow(*event.mark);
            if (event.mark->kind == MarkKind::Batch) {
                EndBatch();
                batch_ = at_;
                inBatch_ = true;
                batchHasWords_ = false;
            }
            break;
        default:
            break;
        }
    }

    void EndBatch() {
        if (inBatch_ && !batchHasWords_) {
            std::swap(at_, batch_);
            Find(Rule::EmptyBatch, {}, "the batch has no words");
            std::swap(at_, batch_);
        }
        inBatch_ = false;
    }

    void TakeWrite(uint32_t offset, uint32_t value) {
        const bool mapped = offset >= reg::MappedRegisters;
        const uint32_t tagNumber = mapped ? (offset - reg::MappedRegisters) / 8 : 0;
        const Register* row = FindRegister(offset);
        const bool vertex = mapped && IsInVertexStore(tagNumber);
        if (vertex) {
            written_[tagNumber] = true;
            registers_.Set(tagNumber, value);
            return;
        }
        if (row == nullptr || !IsWrittenOn(*row, chip_)) {
            const std::string name = board::OffsetName(offset);
            Find(Rule::UnknownRegister, name,
                 row == nullptr ? name + " is no register that is known"
                                : name + " is no register of the " + DeviceOf(chip_).name);
            if (row == nullptr) {
                return;
            }
        }
        if (!mapped) {
            return;
        }
        if (row->use == Use::State && written_[tagNumber] && registers_[tagNumber] == value) {
            Find(Rule::RedundantState, row->name,
                 std::string(row->name) + " is set to what it holds already");
        }
        if (tagNumber == tag::Render) {
            CheckSetUp(value, kEdges);
            CheckCopy(value);
        } else if (tagNumber == tag::DrawTriangle || tagNumber == tag::RepeatTriangle ||
                   tagNumber == tag::DrawLine01 || tagNumber == tag::DrawLine10) {
            CheckSetUp(value, {});
        }
        written_[tagNumber] = true;
        registers_.Set(tagNumber, value);
    }

    // Registers that must have been written before `unit` draws.
    void Need(const char* unit, std::span<const uint32_t> tags) {
        for (const uint32_t tagNumber : tags) {
            const Register* row = FindRegister(MappedOffset(tagNumber));
            if (row != nullptr && row->IsOn(chip_) && !written_[tagNumber]) {
                Find(Rule::UnitNotSetUp, row->name,
                     std::string(unit) + " draws, and nobody has written " + row->name);
            }
        }
    }

    static constexpr uint32_t kEdges[] = {tag::StartXDom, tag::StartY, tag::Count};

    void CheckSetUp(uint32_t render, std::span<const uint32_t> edges) {
        if (!rules_.contains(Rule::UnitNotSetUp)) {
            return;
        }
        static constexpr uint32_t kTarget[] = {tag::FBWindowBase, tag::FBReadMode,
                                               tag::FBWriteMode};
        static constexpr uint32_t kTexture[] = {tag::TextureReadMode, tag::GlintTextureReadMode,
                                                tag::TextureColorMode, tag::TextureAddressMode};
        static constexpr uint32_t kFog[] = {tag::FogMode, tag::FogColor};
        static constexpr uint32_t kStipple[] = {tag::AreaStippleMode};
        static constexpr uint32_t kDepth[] = {tag::LBWindowBase, tag::LBReadMode, tag::LBWriteMode};
        static constexpr uint32_t kBlock[] = {tag::FBBlockColor};
        Need("the rasteriser", edges);
        Need("the frame buffer", kTarget);
        if (field::Render_FastFill.Get(render) != 0) {
            if (field::Render_BlockFillKind.Get(render) == 0) {
                Need("the block fill", kBlock);
            }
            return;
        }
        if (field::Render_Texture.Get(render) != 0) {
            Need("the texture unit", kTexture);
        }
        if (field::Render_Fog.Get(render) != 0) {
            Need("the fog unit", kFog);
        }
        if (field::Render_AreaStipple.Get(render) != 0) {
            Need("the area stipple", kStipple);
        }
        if (registers_.Get(field::DepthMode_Enable) != 0) {
            Need("the depth test", kDepth);
        }
    }

    // From one row to the next, in pixels.
    int32_t Pitch() const {
        int32_t pitch = 0;
        for (const Field& part :
             {Field(field::FBReadMode_PartialProduct0), Field(field::FBReadMode_PartialProduct1),
              Field(field::FBReadMode_PartialProduct2)}) {
            const uint32_t code = registers_.Get(part);
            pitch += code != 0 ? 16 << code : 0;
        }
        return pitch;
    }

    // A rectangle that reads FBSourceOffset pixels away from where it writes.
    void CheckCopy(uint32_t render) {
        const bool copies = registers_.Get(field::FBReadMode_ReadSource) != 0 &&
                            registers_.Get(field::FBReadMode_Patched) == 0 &&
                            registers_.Get(field::FBReadMode_ReadTexels) == 0;
        const int32_t pitch = Pitch();
        if (!copies || pitch == 0 || field::Render_SyncOnHostData.Get(render) != 0 ||
            field::Render_Primitive.Get(render) != board::primitive::Trapezoid) {
            return;
        }
        const int32_t distance = Signed(registers_[tag::FBSourceOffset], 24);
        const int32_t rows = static_cast<int32_t>(registers_[tag::Count] & 0xFFFF);
        const auto pixel = [&](uint32_t tagNumber) {
            return static_cast<int32_t>(registers_[tagNumber]) >> 16;
        };
        const int32_t left = pixel(tag::StartXDom), right = pixel(tag::StartXSub);
        int32_t width = std::abs(right - left);
        // Spans of words and blocks are read before they are written, as far as is known.
        const bool spans = registers_.Get(field::FBReadMode_Packed) != 0 ||
                           field::Render_FastFill.Get(render) != 0;
        if (registers_.Get(field::FBReadMode_Packed) != 0) {
            // Spans count words of so many pixels.
            const uint32_t size = registers_[tag::FBReadPixel] & 7;
            width *= size == 0 ? 4 : size == 1 ? 2 : 1;
        }
        const bool downwards = static_cast<int32_t>(registers_[tag::dY]) > 0;
        // The distance in rows and pixels; between two rows it has two such forms.
        const int32_t above = distance / pitch - (distance % pitch < 0 ? 1 : 0);
        for (const int32_t down : {above, above + 1}) {
            const int32_t aside = distance - down * pitch;
            if (std::abs(down) >= rows || std::abs(aside) >= width) {
                continue;
            }
            if (down != 0 && downwards == (down < 0)) {
                FindCopy(downwards ? "down" : "up", down, down < 0 ? "rows above" : "rows below");
                return;
            }
            if (down == 0 && aside != 0 && !spans && (right > left) == (aside < 0)) {
                FindCopy(right > left ? "to the right" : "to the left", aside,
                         aside < 0 ? "pixels to the left" : "pixels to the right");
                return;
            }
        }
    }

    void FindCopy(const char* way, int32_t distance, const char* where) {
        Find(Rule::OverlapDirection, {},
             "the copy goes " + std::string(way) + ", and its source lies " +
                 std::to_string(std::abs(distance)) + " " + where +
                 ": it reads what it has written");
    }

    static uint64_t Unwaited(const board::Faults& faults) {
        uint64_t entries = 0;
        for (const auto& [place, one] : faults.unwaited) {
            entries += one.entries;
        }
        return entries;
    }

    void LookAtFifo() {
        const board::Faults faults = player_.Board().FaultReport();
        const uint64_t unwaited = Unwaited(faults);
        if (faults.fifoOverflows > overflows_) {
            Find(Rule::LostEntry, {}, "the input FIFO is full, and the word is lost");
        }
        if (unwaited > unwaited_) {
            Find(Rule::UnwaitedEntry, {},
                 "a word enters the input FIFO, and InFIFOSpace has not told of room for it");
        }
        overflows_ = faults.fifoOverflows;
        unwaited_ = unwaited;
    }

    void FollowMemory(const Event& event) {
        if (!begun_) {
            // Zeroes, or what a stream brings that begins in the middle.
            const bool starts = event.kind == EventKind::Store || event.kind == EventKind::Mark ||
                                event.kind == EventKind::HostMemory;
            if (starts) {
                return;
            }
            begun_ = true;
            watches_.emplace_back(Memory::FrameBuffer, player_.Board().FrameBuffer());
            watches_.emplace_back(Memory::LocalBuffer, player_.Board().LocalBuffer());
        }
        if (event.kind == EventKind::Store && event.memory != Memory::Host) {
            watches_[event.memory == Memory::FrameBuffer ? 0 : 1].Store(event.offset,
                                                                        event.bytes.size());
        }
    }

    // Before a mark behind which there may be other surfaces, or other words.
    void LookOutside(const Mark& mark) {
        switch (mark.kind) {
        case MarkKind::Batch:
        case MarkKind::Surface:
        case MarkKind::SurfaceGone:
        case MarkKind::Mode:
        case MarkKind::Step:
        case MarkKind::Frame:
            break;
        default:
            return;
        }
        if (!begun_) {
            return;
        }
        std::vector<SurfaceLayout> surfaces;
        for (const SurfaceLayout* surface : surfaces_.All()) {
            surfaces.push_back(*surface);
        }
        // What was shown the last time may have been drawn to since, too.
        const uint32_t shown = player_.Board().ShownBase();
        for (const uint32_t base : {shown_, shown}) {
            if (const auto screen = surfaces_.Screen(base)) {
                surfaces.push_back(*screen);
            }
        }
        const bool changing = mark.kind == MarkKind::Surface ||
                              mark.kind == MarkKind::SurfaceGone || mark.kind == MarkKind::Mode ||
                              shown != shown_;
        shown_ = shown;
        constexpr const char* kNames[] = {"the frame buffer", "the local buffer"};
        for (size_t i = 0; i < watches_.size(); ++i) {
            if (const auto bytes = watches_[i].Look(surfaces, changing)) {
                Find(Rule::OutsideSurfaces, kNames[i],
                     "before here " + std::string(kNames[i]) + " has changed from byte " +
                         std::to_string(bytes->first) + " to " + std::to_string(bytes->second) +
                         ", where no surface is");
            }
        }
    }

    Player& player_;
    const std::set<Rule>& rules_;
    const ChipModel chip_;
    std::map<std::pair<Rule, std::string>, Finding> findings_;
    Position at_;
    bool isWord_ = true; // what stands there, as Finding::word
    board::StreamDecoder decoder_;
    board::RegisterFile registers_;
    std::bitset<board::kTagCount> written_;
    Surfaces surfaces_;
    std::vector<OutsideWatch> watches_;
    bool begun_ = false; // of the memories
    uint32_t shown_ = 0; // where the screen was the last time
    Position batch_;
    bool inBatch_ = false, batchHasWords_ = false;
    uint64_t overflows_ = 0, unwaited_ = 0; // on the board
};

} // namespace

std::span<const RuleRow> Rules() {
    return kRules;
}

const RuleRow* FindRule(std::string_view name) {
    for (const RuleRow& row : kRules) {
        if (row.name == name) {
            return &row;
        }
    }
    return nullptr;
}

std::vector<Finding> Lint(Player& player, const std::set<Rule>& rules) {
    return Linter(player, rules).Run();
}

} // namespace stream
