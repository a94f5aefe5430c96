// HAL scripts: steps come, go and change places, values become others, mostly such as have stood
// under the same key somewhere. What cannot be read is left out, so that the scripts that come of
// it play.
#include "tests/fuzz/mutators.h"
#include "tools/korv/base/errors.h"
#include "tools/korv/random/session.h"
#include "tools/korv/replay/constants.h"
#include "tools/korv/replay/script.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>

extern "C" size_t LLVMFuzzerMutate(uint8_t* bytes, size_t size, size_t most);

namespace fuzz {

namespace {

using Json = nlohmann::ordered_json;

// Values and steps that have been met, by their key and kind.
std::map<std::string, std::vector<Json>> met;

class ScriptDice {
  public:
    explicit ScriptDice(unsigned int seed) : random_(seed) {}
    uint32_t Below(size_t end) { return static_cast<uint32_t>(random_() % end); }
    uint32_t Word() { return static_cast<uint32_t>(random_()); }

  private:
    std::mt19937 random_;
};

void Meet(const std::string& key, const Json& value, ScriptDice& dice) {
    constexpr size_t kMost = 256;
    std::vector<Json>& all = met[key];
    if (all.size() < kMost) {
        all.push_back(value);
    } else if (dice.Below(8) == 0) {
        all[dice.Below(kMost)] = value;
    }
}

void MeetAll(const std::string& key, const Json& value, ScriptDice& dice) {
    if (value.is_object()) {
        for (const auto& [name, part] : value.items()) {
            MeetAll(name, part, dice);
        }
    } else if (value.is_array()) {
        for (const Json& part : value) {
            MeetAll(key, part, dice);
        }
    }
    if (value.dump().size() < 1000) {
        Meet(key, value, dice);
    }
}

std::string KindOf(const Json& step) {
    const auto found = step.find("do");
    return found != step.end() && found->is_string() ? found->get<std::string>() : "";
}

// A script's steps without what they expect; null for what is none.
Json StepsOf(Bytes bytes) {
    const Json script = Json::parse(bytes.begin(), bytes.end(), nullptr, false);
    if (!script.is_object() || !script.contains("steps") || !script["steps"].is_array()) {
        return {};
    }
    Json steps = Json::array();
    for (Json step : script["steps"]) {
        if (step.is_object()) {
            for (const char* key : {"expect", "expectWords", "expectRegister", "note"}) {
                step.erase(key);
            }
            steps.push_back(step);
        }
    }
    return steps;
}

std::string TextOf(const Json& steps) {
    return korv::random::ScriptText("Fuzzed", steps.get<korv::random::Steps>());
}

class Change {
  public:
    Change(Json& steps, ScriptDice& dice) : steps_(steps), dice_(dice) {}

    void Make() {
        switch (steps_.empty() ? 0 : dice_.Below(16)) {
        case 0:
        case 1:
            InsertMet();
            break;
        case 2:
            Remove(Place(), 1 + dice_.Below(dice_.Below(4) == 0 ? 12 : 2));
            break;
        case 3: {
            const Json step = steps_[Place()];
            Insert(step);
            break;
        }
        case 4: {
            const size_t a = Place(), b = Place();
            std::swap(steps_[a], steps_[b]);
            break;
        }
        case 5:
            ReplaceField();
            break;
        default:
            ChangeValue(steps_[Place()], "");
            break;
        }
    }

  private:
    size_t Place() { return dice_.Below(steps_.size()); }
    void Insert(const Json& step) {
        steps_.insert(steps_.begin() + static_cast<ptrdiff_t>(dice_.Below(steps_.size() + 1)),
                      step);
    }
    void Remove(size_t from, size_t count) {
        for (count = std::min(count, steps_.size() - from); count != 0; --count) {
            steps_.erase(from);
        }
    }
    void InsertMet() {
        std::vector<const std::vector<Json>*> kinds;
        for (const auto& [key, values] : met) {
            if (key.starts_with("do ")) {
                kinds.push_back(&values);
            }
        }
        if (!kinds.empty()) {
            const std::vector<Json>& kind = *kinds[dice_.Below(kinds.size())];
            Insert(kind[dice_.Below(kind.size())]);
        }
    }
    // A field of another step of this kind, or one less.
    void ReplaceField() {
        Json& step = steps_[Place()];
        const auto found = met.find("do " + KindOf(step));
        if (found == met.end()) {
            return;
        }
        const Json& other = found->second[dice_.Below(found->second.size())];
        const auto field = std::next(other.begin(), dice_.Below(other.size()));
        if (dice_.Below(4) == 0) {
            step.erase(field.key());
        } else {
            step[field.key()] = field.value();
        }
    }
    void ChangeValue(Json& value, const std::string& key) {
        if (key == "do") {
            return;
        }
        const bool deep = (value.is_object() || value.is_array()) && !value.empty();
        if (deep && dice_.Below(8) != 0) {
            const auto part = std::next(value.begin(), dice_.Below(value.size()));
            ChangeValue(*part, value.is_object() ? part.key() : key);
            return;
        }
        if (value.is_array() && !value.empty() && dice_.Below(2) == 0) {
            if (dice_.Below(2) == 0) {
                value.erase(dice_.Below(value.size()));
            } else {
                const Json again = value[dice_.Below(value.size())];
                value.push_back(again);
            }
            return;
        }
        const auto known = met.find(key);
        if (known != met.end() && dice_.Below(2) == 0) {
            value = known->second[dice_.Below(known->second.size())];
        } else if (value.is_boolean()) {
            value = !value.get<bool>();
        } else if (value.is_number()) {
            ChangeNumber(value);
        } else if (value.is_string()) {
            ChangeText(value);
        }
    }
    void ChangeNumber(Json& value) {
        static constexpr int64_t kEdges[] = {
            0,      1,     2,       -1,      7,       8,          15,         16,
            31,     32,    63,      64,      127,     128,        255,        256,
            1023,   1024,  2047,    2048,    4095,    4096,       0x7FFF,     0x8000,
            0xFFFF, 65536, 1 << 20, 1 << 24, 1 << 30, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
        const double number = value.get<double>();
        switch (dice_.Below(6)) {
        case 0:
            value = kEdges[dice_.Below(std::size(kEdges))];
            break;
        case 1:
            value = number + 1;
            break;
        case 2:
            value = -number;
            break;
        case 3:
            value = value.is_number_integer()
                        ? Json(value.get<int64_t>() ^ (1ll << dice_.Below(32)))
                        : Json(number * 2);
            break;
        case 4:
            value = number + dice_.Below(1000) / 250.0 - 2;
            break;
        default:
            value = dice_.Word() >> dice_.Below(32);
            break;
        }
        // Most numbers are whole.
        if (value.is_number_float() && value.get<double>() == std::floor(value.get<double>()) &&
            std::abs(value.get<double>()) < 4e9) {
            value = static_cast<int64_t>(value.get<double>());
        }
    }
    void ChangeText(Json& value) {
        const auto word = korv::ParseWord(value.get<std::string>());
        if (word) {
            const uint32_t other =
                dice_.Below(3) == 0 ? dice_.Word() : *word ^ (1u << dice_.Below(32));
            value = "0x" + Hex(other);
            return;
        }
        // Another name that this script has given.
        std::vector<Json> names;
        for (const Json& step : steps_) {
            if (step.contains("name")) {
                names.push_back(step["name"]);
            }
        }
        if (!names.empty()) {
            value = names[dice_.Below(names.size())];
        }
    }
    static std::string Hex(uint32_t word) {
        char text[16];
        std::snprintf(text, sizeof text, "%X", word);
        return text;
    }

    Json& steps_;
    ScriptDice& dice_;
};

// Leaves out steps until the rest can be read. Empty: nothing is left.
std::string Readable(Json& steps) {
    for (int tries = 0; tries < 40 && !steps.empty(); ++tries) {
        const std::string text = TextOf(steps);
        try {
            const korv::HalScript script("/nowhere/fuzzed.json", text);
            return text;
        } catch (const korv::UserError& error) {
            const std::string what = error.what();
            constexpr std::string_view kPlace = ": /steps/";
            const size_t at = what.find(kPlace);
            const size_t step = at == what.npos
                                    ? steps.size() - 1
                                    : std::strtoul(what.c_str() + at + kPlace.size(), nullptr, 10);
            steps.erase(std::min(step, steps.size() - 1));
        }
    }
    return "";
}

size_t Put(const std::string& text, uint8_t* out, size_t most) {
    if (text.empty() || text.size() > most) {
        return 0;
    }
    std::copy(text.begin(), text.end(), out);
    return text.size();
}

void MeetSteps(const Json& steps, ScriptDice& dice) {
    for (const Json& step : steps) {
        const std::string kind = KindOf(step);
        if (step.dump().size() < 2000) {
            Meet("do " + kind, step, dice);
        }
        MeetAll("", step, dice);
    }
}

} // namespace

size_t MutateScript(uint8_t* bytes, size_t size, size_t most, unsigned int seed) {
    ScriptDice dice(seed);
    Json steps = StepsOf({bytes, size});
    if (steps.empty() || dice.Below(200) == 0) {
        steps = Json(korv::random::MakeSession(dice.Word(), 12, dice.Below(2) != 0));
    }
    MeetSteps(steps, dice);
    for (int tries = 0; tries < 4; ++tries) {
        Json changed = steps;
        Change change(changed, dice);
        for (uint32_t left = 1 + dice.Below(4); left != 0; --left) {
            change.Make();
        }
        if (const size_t put = Put(Readable(changed), bytes, most); put != 0) {
            return put;
        }
    }
    return Put(Readable(steps), bytes, most);
}

size_t CrossScripts(Bytes first, Bytes second, uint8_t* out, size_t most, unsigned int seed) {
    ScriptDice dice(seed);
    Json steps = StepsOf(first);
    const Json others = StepsOf(second);
    if (steps.empty() || others.empty()) {
        return 0;
    }
    MeetSteps(others, dice);
    // Some of the other's steps, in their order.
    const size_t from = dice.Below(others.size());
    const size_t count = std::min<size_t>(1 + dice.Below(10), others.size() - from);
    size_t place = dice.Below(steps.size() + 1);
    for (size_t i = 0; i < count; ++i) {
        steps.insert(steps.begin() + static_cast<ptrdiff_t>(place++), others[from + i]);
    }
    return Put(Readable(steps), out, most);
}

} // namespace fuzz
