#include "tools/korvchk/switches.h"

#include "tools/korvchk/text.h"

namespace chk {

const Switch kSwitches[] = {
#define SWITCH(name, usual, meaning) {name, usual, meaning},
#include "tools/korvchk/switches.def"
#undef SWITCH
};
const uint32_t kSwitchCount = sizeof(kSwitches) / sizeof(kSwitches[0]);

namespace {

// What the driver has room for, the zero at the end included.
constexpr DWORD kValueBytes = 10;

// The driver's own way to read a number: blanks, a sign, digits.
uint32_t Number(const char* text, bool* isNumber) {
    while ((*text >= 9 && *text <= 13) || *text == ' ') {
        ++text;
    }
    const bool negative = *text == '-';
    if (*text == '-' || *text == '+') {
        ++text;
    }
    const char* first = text;
    uint32_t sum = 0;
    for (; *text >= '0' && *text <= '9'; ++text) {
        sum = sum * 10 + static_cast<uint32_t>(*text - '0');
    }
    *isNumber = text != first && *text == 0;
    return negative ? 0 - sum : sum;
}

void TellSwitch(Report& report, const Switch& entry, const SwitchValue& value) {
    Line line;
    line << "  " << Column{entry.name, 37};
    Line number;
    number << value.number;
    line << Column{number.Text(), 8}
         << (value.source == Source::Registry ? "from the registry" : "by default");
    report.Say(line);
}

} // namespace

SwitchValue ReadSwitch(HKEY key, const Switch& entry) {
    char text[kValueBytes + 1] = {};
    DWORD type = 0, bytes = kValueBytes;
    const uint32_t result = static_cast<uint32_t>(
        RegQueryValueExA(key, entry.name, nullptr, &type, reinterpret_cast<BYTE*>(text), &bytes));
    if (result == ERROR_MORE_DATA) {
        return {Source::TooLong, entry.usual, true};
    }
    if (result != ERROR_SUCCESS) {
        return {Source::Missing, entry.usual, true};
    }
    bool isNumber;
    const uint32_t number = Number(text, &isNumber);
    return {type == REG_SZ ? Source::Registry : Source::NoText, number, isNumber};
}

void CheckSwitches(Report& report, const char* registryName, bool all) {
    report.Say("Switches");
    if (registryName == nullptr) {
        report.Note(Line() << "Not read: where they are is told by the display driver, and none "
                              "answers.");
        return;
    }
    Line path;
    path << "SOFTWARE\\" << registryName << "\\DirectX";
    report.Say(Line() << "  key        HKEY_LOCAL_MACHINE\\" << path.Text());
    HKEY key;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.Text(), 0, KEY_READ, &key) != ERROR_SUCCESS) {
        report.Note(Line() << "There is no such key: every switch has its default. To set some, "
                              "import korv32.reg of the package, with this path in it.");
        key = nullptr;
    }
    uint32_t set = 0;
    for (uint32_t i = 0; i < kSwitchCount; ++i) {
        const Switch& entry = kSwitches[i];
        const SwitchValue value = key != nullptr ? ReadSwitch(key, entry)
                                                 : SwitchValue{Source::Missing, entry.usual, true};
        set += value.source == Source::Registry ? 1 : 0;
        if (all || value.source == Source::Registry) {
            TellSwitch(report, entry, value);
            report.Note(Line() << entry.meaning);
        }
        if (value.source == Source::TooLong) {
            report.Wrong(
                Line() << entry.name
                       << " has ten characters or more and counts as missing: shorten it.");
        } else if (value.source == Source::NoText) {
            report.Wrong(Line() << entry.name
                                << " is no text, so the driver misreads it: delete it in REGEDIT "
                                   "and make it anew as a string.");
        } else if (!value.isNumber) {
            report.Wrong(Line() << entry.name << " is no number and counts as " << value.number
                                << ": digits are expected.");
        }
    }
    report.Say(Line() << "  " << set << " set, " << (kSwitchCount - set) << " at their defaults"
                      << (all ? "" : " (/switches lists them)"));
}

} // namespace chk
