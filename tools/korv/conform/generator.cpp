#include "tools/korv/conform/generator.h"

#include "chip/devices.h"
#include "chip/registers.h"
#include "stream/capture_assembler.h"
#include "stream/error.h"
#include "tools/korv/conform/patterns.h"
#include "tools/korv/conform/pixel_form.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>

namespace korv::conform {

namespace {

using stream::EventKind;
using stream::Memory;

constexpr uint32_t kUsualMemory = 16384; // bytes
constexpr size_t kDeepestMacro = 8;

struct Chip {
    const char* name;
    ChipModel model;
    bool setupUnit;
};
// In the order in which cases are made.
constexpr Chip kChips[] = {
    {"sx", ChipModel::SX, false},
    {"tx", ChipModel::TX, false},
    {"mx", ChipModel::MX, false},
    {"permedia", ChipModel::Permedia, false},
    {"permedia2", ChipModel::Permedia2, true},
    {"sx-delta", ChipModel::SX, true},
    {"tx-delta", ChipModel::TX, true},
    {"mx-delta", ChipModel::MX, true},
    {"permedia-delta", ChipModel::Permedia, true},
};

struct Group {
    const char* name;
    bool (*has)(const Chip&);
};
bool IsSecondChip(const Chip& chip) { // in front of another
    return chip.setupUnit && chip.model != ChipModel::Permedia2;
}
constexpr Group kGroups[] = {
    {"all", [](const Chip& chip) { return !IsSecondChip(chip); }},
    {"glint",
     [](const Chip& chip) { return DeviceOf(chip.model).IsGlint() && !IsSecondChip(chip); }},
    {"permedias",
     [](const Chip& chip) { return DeviceOf(chip.model).IsPermedia() && !IsSecondChip(chip); }},
    {"texturing",
     [](const Chip& chip) { return DeviceOf(chip.model).textures && !IsSecondChip(chip); }},
    {"deltas", [](const Chip& chip) { return chip.setupUnit; }},
};

// A condition on a line: a chip, also with a setup unit in front, or a group, likewise.
bool Meets(const Chip& chip, const std::string& name) {
    const std::string plain = std::string(chip.name).substr(0, std::string(chip.name).find('-'));
    const auto named = ChipsNamed(name);
    return std::ranges::count(named, chip.name) != 0 || std::ranges::count(named, plain) != 0;
}

using Names = std::map<std::string, std::string>; // and what stands for them

// Takes what the assembler makes of a line.
class Steps final : public stream::EventSink {
  public:
    void OnBoard(const board::Config&, const std::string&) override {
        throw stream::StreamError("a case has its board by 'chips'");
    }
    void OnEvent(const stream::Event& event) override {
        switch (event.kind) {
        case EventKind::DmaWord:
            transfer.push_back(event.value);
            return;
        case EventKind::Read:
        case EventKind::Write:
        case EventKind::FifoWord:
        case EventKind::Ticks:
        case EventKind::Clock:
        case EventKind::HostMemory:
            steps.push_back({event.kind, event.memory, event.offset, event.value, {}});
            return;
        default:
            throw stream::StreamError("a case has no such event");
        }
    }

    std::vector<Step> steps;
    std::vector<uint32_t> transfer; // words of the next transfer
};

class CaseMaker {
  public:
    CaseMaker(const Description& description, std::span<const Macro* const> macros,
              const DescribedCase& described, const Chip& chip)
        : description_(description), macros_(macros), described_(described), chip_(chip),
          assembler_(made_, chip.model) {}

    Case Make(const Names& variables, const std::string& label) {
        case_.unit = description_.unit;
        case_.name = described_.name + label;
        case_.chip = chip_.name;
        case_.id = fmt::format("{}/{}@{}", case_.unit, case_.name, case_.chip);
        case_.known = described_.known;
        case_.deduced = described_.deduced;
        case_.config.chip = chip_.model;
        case_.config.setupUnit = chip_.setupUnit;
        case_.config.frameBufferBytes = kUsualMemory;
        case_.config.localBufferBytes = DeviceOf(chip_.model).HasLocalBuffer() ? kUsualMemory : 0;
        Lines(described_.body, variables, 0);
        Check();
        case_.steps = std::move(made_.steps);
        return std::move(case_);
    }

  private:
    [[noreturn]] void Fail(const std::string& problem) const {
        throw DescriptionError(description_.file, line_,
                               fmt::format("{} (in '{}')", problem, case_.id));
    }

    std::string Substituted(const std::string& text, const Names& names) const {
        std::string result;
        for (size_t at = 0; at < text.size();) {
            if (text[at] != '$') {
                result += text[at++];
                continue;
            }
            size_t end = at + 1;
            while (end < text.size() && std::isupper(static_cast<unsigned char>(text[end])) != 0) {
                ++end;
            }
            const std::string name = text.substr(at, end - at);
            const auto found = names.find(name);
            if (found == names.end()) {
                Fail(fmt::format("nothing is called '{}' here", name));
            }
            result += found->second;
            at = end;
        }
        return result;
    }

    void Lines(const std::vector<DescribedLine>& lines, const Names& names, size_t depth) {
        for (const DescribedLine& line : lines) {
            if (depth == 0) {
                line_ = line.number;
            }
            if (line.chips.empty() || std::ranges::any_of(line.chips, [&](const std::string& name) {
                    return Meets(chip_, name);
                })) {
                Line(Substituted(line.text, names), depth);
            }
        }
    }

    void Line(const std::string& text, size_t depth) {
        std::vector<std::string> words = WordsOf(text);
        const std::string& first = words.front();
        try {
            if (first == "picture") {
                AddPicture(words);
            } else if (first == "within") {
                Allow(words);
            } else if (first == "memory") {
                SetMemory(words);
            } else if (first == "fill") {
                Fill(words);
            } else if (first == "read") {
                Expect(words, 2, "read REGISTER");
                assembler_.Line("r " + words[1] + " = 0x0");
            } else if (first == "hold") {
                Hold(words);
            } else if (first == "transfer") {
                Expect(words, 2, "transfer ADDRESS");
                Transfer(NumberOf(words[1]));
            } else if (const Macro* macro = FindMacro(first)) {
                Expand(*macro, words, depth);
            } else {
                assembler_.Line(text);
            }
        } catch (const stream::AssembleError& error) {
            Fail(fmt::format("'{}': {}", text, error.what()));
        } catch (const stream::StreamError& error) {
            Fail(fmt::format("'{}': {}", text, error.what()));
        } catch (const PatternError& error) {
            Fail(fmt::format("'{}': {}", text, error.what()));
        }
    }

    void Expect(const std::vector<std::string>& words, size_t count, const char* form) const {
        if (words.size() != count) {
            Fail(fmt::format("expected '{}'", form));
        }
    }

    const Macro* FindMacro(const std::string& name) const {
        const auto found = std::ranges::find(macros_, name, &Macro::name);
        return found == macros_.end() ? nullptr : *found;
    }

    void Expand(const Macro& macro, const std::vector<std::string>& words, size_t depth) {
        if (words.size() != macro.parameters.size() + 1) {
            Fail(fmt::format("'{}' takes {} values", macro.name, macro.parameters.size()));
        }
        if (depth == kDeepestMacro) {
            Fail(fmt::format("'{}' calls itself", macro.name));
        }
        Names names;
        for (size_t i = 0; i < macro.parameters.size(); ++i) {
            names[macro.parameters[i]] = words[i + 1];
        }
        Lines(macro.body, names, depth + 1);
    }

    Memory MemoryNamed(const std::string& name) const {
        if (name == "frame") {
            return Memory::FrameBuffer;
        }
        if (name == "local" && DeviceOf(chip_.model).HasLocalBuffer()) {
            return Memory::LocalBuffer;
        }
        if (name == "depth" || name == "map") { // where depths and maps lie on this chip
            return DeviceOf(chip_.model).HasLocalBuffer() ? Memory::LocalBuffer
                                                          : Memory::FrameBuffer;
        }
        if (name == "host") {
            return Memory::Host;
        }
        Fail(fmt::format(
            "'{}' is no memory of this chip: expected frame, local, depth, map or host", name));
    }

    uint32_t& SizeOfMemory(Memory memory) {
        return memory == Memory::FrameBuffer ? case_.config.frameBufferBytes
                                             : case_.config.localBufferBytes;
    }

    void SetMemory(const std::vector<std::string>& words) {
        Expect(words, 3, "memory NAME BYTES");
        SizeOfMemory(MemoryNamed(words[1])) = NumberOf(words[2]);
    }

    void AddPicture(const std::vector<std::string>& words) {
        Expect(words, 7, "picture NAME MEMORY OFFSET PITCH WIDTHxHEIGHT FORM");
        const SizeOf size = ParseExtent(words[5]);
        const auto form = FormByName(words[6]);
        if (!form) {
            Fail(fmt::format("'{}' is no form: expected one of {}", words[6], FormNames()));
        }
        case_.pictures.push_back({words[1], MemoryNamed(words[2]), NumberOf(words[3]),
                                  NumberOf(words[4]), size.width, size.height, *form, 0, 0});
    }

    void Allow(const std::vector<std::string>& words) {
        Expect(words, 4, "within PICTURE LIMIT PIXELS");
        const auto found = std::ranges::find(case_.pictures, words[1], &PictureArea::name);
        if (found == case_.pictures.end()) {
            Fail(fmt::format("there is no picture '{}' yet", words[1]));
        }
        found->limit = NumberOf(words[2]);
        found->pixels = NumberOf(words[3]);
    }

    void Fill(const std::vector<std::string>& words) {
        if (words.size() < 4) {
            Fail("expected 'fill MEMORY OFFSET PATTERN'");
        }
        made_.steps.push_back({EventKind::Store, MemoryNamed(words[1]), NumberOf(words[2]), 0,
                               PatternBytes(std::span(words).subspan(3))});
    }

    // A pattern as the data of one register.
    void Hold(const std::vector<std::string>& words) {
        if (words.size() < 3) {
            Fail("expected 'hold REGISTER PATTERN'");
        }
        std::vector<uint8_t> bytes = PatternBytes(std::span(words).subspan(2));
        bytes.resize((bytes.size() + 3) / 4 * 4);
        assembler_.Line(fmt::format("{} x{}", words[1], bytes.size() / 4));
        for (size_t i = 0; i < bytes.size(); i += 4) {
            assembler_.Line(fmt::format("f {:02X}{:02X}{:02X}{:02X}", bytes[i + 3], bytes[i + 2],
                                        bytes[i + 1], bytes[i]));
        }
    }

    // The words that stand before it, by DMA.
    void Transfer(uint32_t address) {
        if (made_.transfer.empty()) {
            Fail("there are no words to transfer: they stand before, with 'd'");
        }
        const auto count = static_cast<uint32_t>(made_.transfer.size());
        std::vector<uint8_t> bytes;
        for (const uint32_t word : made_.transfer) {
            for (uint32_t shift = 0; shift < 32; shift += 8) {
                bytes.push_back(static_cast<uint8_t>(word >> shift));
            }
        }
        made_.transfer.clear();
        made_.steps.push_back({EventKind::HostMemory, {}, address, count * 4, {}});
        made_.steps.push_back({EventKind::Store, Memory::Host, address, 0, std::move(bytes)});
        made_.steps.push_back({EventKind::Write, {}, reg::DMAAddress, address, {}});
        made_.steps.push_back({EventKind::Write, {}, reg::DMACount, count, {}});
    }

    void Check() {
        line_ = described_.line;
        if (!made_.transfer.empty()) {
            Fail("words with 'd' have no 'transfer' behind them");
        }
        if (const auto problem = case_.config.Problem()) {
            Fail(*problem);
        }
        if (assembler_.Unfinished()) {
            Fail("the last burst waits for data");
        }
        for (const PictureArea& one : case_.pictures) {
            if ((one.limit != 0 || one.pixels != 0) && case_.deduced.empty()) {
                Fail(fmt::format("picture '{}' may deviate, and nothing is deduced", one.name));
            }
            const uint64_t end = uint64_t{one.offset} + uint64_t{one.height - 1} * one.pitch +
                                 uint64_t{one.width} * BytesOf(one.form);
            if (end > SizeOfMemory(one.memory) || one.memory == Memory::Host) {
                Fail(fmt::format("picture '{}' lies outside its memory", one.name));
            }
        }
        for (const Step& step : made_.steps) {
            if (step.kind == EventKind::Store && step.memory != Memory::Host &&
                step.offset + step.bytes.size() > SizeOfMemory(step.memory)) {
                Fail("a fill ends outside its memory");
            }
        }
    }

    const Description& description_;
    std::span<const Macro* const> macros_;
    const DescribedCase& described_;
    const Chip& chip_;
    Case case_;
    Steps made_;
    stream::CaptureAssembler assembler_;
    size_t line_ = 0;
};

// Calls made(variables, label) for each combination, the last parameter fastest.
template <typename Made>
void EachVariant(const Chip& chip, std::span<const Variants> left, const Names& names,
                 const std::string& label, Made&& made) {
    if (left.empty()) {
        made(names, label);
        return;
    }
    const Variants& variants = left.front();
    const auto& chips = variants.line.chips;
    if (!chips.empty() &&
        std::ranges::none_of(chips, [&](const std::string& name) { return Meets(chip, name); })) {
        EachVariant(chip, left.subspan(1), names, label, made);
        return;
    }
    for (const Variants::Choice& choice : variants.choices) {
        Names more = names;
        for (size_t i = 0; i < variants.names.size(); ++i) {
            more[variants.names[i]] = choice.values[i];
        }
        EachVariant(chip, left.subspan(1), more, label + "-" + choice.label, made);
    }
}

} // namespace

std::vector<std::string> ChipsNamed(const std::string& name) {
    std::vector<std::string> names;
    for (const Chip& chip : kChips) {
        const auto group = std::ranges::find(kGroups, name, &Group::name);
        if (name == chip.name || (group != std::end(kGroups) && group->has(chip))) {
            names.emplace_back(chip.name);
        }
    }
    return names;
}

std::vector<Case> MakeCases(std::span<const Description> descriptions) {
    std::vector<const Macro*> common;
    for (const Description& one : descriptions) {
        if (one.unit.empty()) {
            for (const Macro& macro : one.macros) {
                common.push_back(&macro);
            }
        }
    }
    std::vector<Case> cases;
    std::set<std::string> ids;
    for (const Description& one : descriptions) {
        std::vector<const Macro*> macros = common;
        for (const Macro& macro : one.macros) {
            macros.push_back(&macro);
        }
        for (const DescribedCase& described : one.cases) {
            std::set<std::string> chips;
            for (const std::string& name : described.chips) {
                const auto named = ChipsNamed(name);
                if (named.empty()) {
                    throw DescriptionError(one.file, described.line,
                                           fmt::format("'{}' is no chip", name));
                }
                chips.insert(named.begin(), named.end());
            }
            for (const Chip& chip : kChips) {
                if (!chips.contains(chip.name)) {
                    continue;
                }
                EachVariant(chip, described.variants, {}, "",
                            [&](const Names& names, const std::string& label) {
                                cases.push_back(
                                    CaseMaker(one, macros, described, chip).Make(names, label));
                                if (!ids.insert(cases.back().id).second) {
                                    throw DescriptionError(
                                        one.file, described.line,
                                        fmt::format("there are two of '{}'", cases.back().id));
                                }
                            });
            }
        }
    }
    return cases;
}

} // namespace korv::conform
