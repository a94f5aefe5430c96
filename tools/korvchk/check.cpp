#include "tools/korvchk/check.h"

#include "tools/korvchk/directx.h"
#include "tools/korvchk/display.h"
#include "tools/korvchk/library.h"
#include "tools/korvchk/picture.h"
#include "tools/korvchk/switches.h"
#include "tools/korvchk/text.h"

namespace chk {

namespace {

constexpr const char* kHelp =
    "korvchk tells what of the KORV32 display driver is there and working.\n"
    "\n"
    "  korvchk              looks, and changes nothing\n"
    "  korvchk /draw        draws a test picture too, in a window and full screen\n"
    "  korvchk /switches    lists every switch, those at their defaults too\n"
    "  korvchk /bringup     tries board and mini VDD step by step: for their makers,\n"
    "                       with nothing else running, before DirectDraw is used\n"
    "  korvchk /display=N   the display that the display driver calls N; else 0\n"
    "  korvchk /?           this text\n"
    "\n"
    "korvchk > report.txt keeps what it says. The exit code is 0 if all is good,\n"
    "1 if something is wrong, 2 for a wrong command line.";

struct Options {
    bool draw = false, switches = false, bringUp = false, help = false;
    uint32_t display = 0;
};

char Small(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

// True if the word begins so, whatever its capitals; *rest is what follows.
bool Begins(const char* word, const char* with, const char** rest) {
    while (*with != 0) {
        if (Small(*word++) != *with++) {
            return false;
        }
    }
    *rest = word;
    return true;
}

// A word without its slash or dash. False for one that means nothing.
bool ReadOption(const char* word, Options* options) {
    const char* rest;
    if (Begins(word, "display=", &rest)) {
        if (*rest == 0) {
            return false;
        }
        uint32_t number = 0, digits = 0;
        for (; *rest >= '0' && *rest <= '9' && digits < 9; ++rest, ++digits) {
            number = number * 10 + static_cast<uint32_t>(*rest - '0');
        }
        options->display = number;
        return *rest == 0;
    }
    struct {
        const char* name;
        bool* option;
    } const flags[] = {{"draw", &options->draw},       {"switches", &options->switches},
                       {"bringup", &options->bringUp}, {"?", &options->help},
                       {"help", &options->help},       {"h", &options->help}};
    for (const auto& flag : flags) {
        if (Begins(word, flag.name, &rest) && *rest == 0) {
            *flag.option = true;
            return true;
        }
    }
    return false;
}

bool ReadOptions(Report& report, const char* arguments, Options* options) {
    while (true) {
        while (*arguments == ' ' || *arguments == '\t') {
            ++arguments;
        }
        if (*arguments == 0) {
            break;
        }
        char word[40] = {};
        uint32_t length = 0;
        for (; *arguments != 0 && *arguments != ' ' && *arguments != '\t'; ++arguments) {
            if (length < sizeof(word) - 1) {
                word[length++] = *arguments;
            }
        }
        if ((word[0] != '/' && word[0] != '-') || !ReadOption(word + 1, options)) {
            report.Say(Line() << "korvchk: '" << word
                              << "' means nothing here; korvchk /? tells what does");
            return false;
        }
    }
    if (options->bringUp && options->draw) {
        report.Say(
            "korvchk: /bringup comes before DirectDraw is used, so /draw does not go with it");
        return false;
    }
    return true;
}

void CheckAll(Report& report, const Options& options) {
    CheckLibrary(report);
    report.Say();
    const KorvDriverData* data = CheckDisplay(report, options.display);
    report.Say();
    const KorvChipInfo* chip =
        data == nullptr ? nullptr : reinterpret_cast<const KorvChipInfo*>(data->ChipInfo);
    CheckSwitches(report, chip == nullptr ? nullptr : chip->RegistryName, options.switches);
    report.Say();
    IDirectDraw* directDraw = CheckDirectDraw(report);
    if (directDraw != nullptr) {
        report.Say();
        const HardwareDevice device = CheckDirect3D(report, directDraw);
        if (options.draw) {
            report.Say();
            if (device.found) {
                DrawPictures(report, directDraw, device);
            } else {
                report.Say("Picture: not drawn, as there is no hardware device");
            }
        }
        directDraw->Release();
    }
}

} // namespace

int Run(const char* arguments) {
    Report report;
    Options options;
    if (!ReadOptions(report, arguments, &options)) {
        return 2;
    }
    if (options.help) {
        report.Say(kHelp);
        return 0;
    }
    report.Say("korvchk " KORV_VERSION);
    report.Say();
    if (options.bringUp) {
        BringUp(report, options.display);
    } else {
        CheckAll(report, options);
    }
    report.Say();
    if (report.Problems() == 0) {
        report.Say("Nothing is wrong.");
        return 0;
    }
    report.Say(Line() << report.Problems() << (report.Problems() == 1 ? " thing is" : " things are")
                      << " wrong, marked !! above.");
    report.Say("Mend the first one first: what follows may be its fault.");
    return 1;
}

} // namespace chk
