#include "tools/korvchk/library.h"

#include "tools/korvchk/sha256.h"
#include "tools/korvchk/system.h"
#include "tools/korvchk/text.h"

namespace chk {

const char* const kExportNames[kExports] = {
    "DriverInit",           "KORV_AllocateVideoMemory", "KORV_CopyBlt",
    "KORV_CreateContext",   "KORV_DebugHelp",           "KORV_DeleteContext",
    "KORV_DriverIsLocked",  "KORV_FreeDMABuffer",       "KORV_FreeDriverLock",
    "KORV_FreeVideoMemory", "KORV_GetDMABuffer",        "KORV_GetDriverLock",
    "KORV_GetInfo",         "KORV_Initialize",          "KORV_Service",
    "KORV_StartDMA",        "KORV_StartSoftwareCursor", "KORV_StopSoftwareCursor",
    "KORV_SwitchContext",   "KORV_WaitForDMA"};

namespace {

constexpr uint32_t kNowhere = 0xFFFFFFFF;
constexpr uint32_t kLibraryFlag = 0x2000;

// Little-endian numbers of a file; 0 outside of it.
class Bytes {
  public:
    Bytes(const uint8_t* bytes, uint32_t size) : bytes_(bytes), size_(size) {}
    uint32_t Byte(uint32_t at) const { return at < size_ ? bytes_[at] : 0; }
    uint32_t Half(uint32_t at) const { return Byte(at) | Byte(at + 1) << 8; }
    uint32_t Word(uint32_t at) const { return Half(at) | Half(at + 2) << 16; }
    bool Begins(uint32_t at, const char* text) const {
        for (; *text != 0; ++at, ++text) {
            if (Byte(at) != static_cast<uint8_t>(*text)) {
                return false;
            }
        }
        return true;
    }
    bool IsText(uint32_t at, const char* text) const {
        uint32_t length = 0;
        while (text[length] != 0) {
            ++length;
        }
        return at < size_ && Begins(at, text) && Byte(at + length) == 0;
    }
    uint32_t Size() const { return size_; }

  private:
    const uint8_t* bytes_;
    uint32_t size_;
};

class Headers {
  public:
    explicit Headers(const Bytes& file) : file_(file), start_(file.Word(0x3C)) {}
    bool IsLibrary() const {
        return file_.Half(0) == 0x5A4D && file_.Word(start_) == 0x4550 && start_ < file_.Size() &&
               file_.Half(start_ + 4) == 0x14C && (file_.Half(start_ + 22) & kLibraryFlag) != 0;
    }
    // No section reaches past the end of the file.
    bool IsWhole() const {
        const uint32_t count = file_.Half(start_ + 6);
        uint32_t section = start_ + 24 + file_.Half(start_ + 20);
        for (uint32_t i = 0; i < count; ++i, section += 40) {
            const uint32_t place = file_.Word(section + 20), bytes = file_.Word(section + 16);
            if (place > file_.Size() || bytes > file_.Size() - place) {
                return false;
            }
        }
        return true;
    }
    uint32_t Directory(uint32_t number) const { return file_.Word(start_ + 24 + 96 + number * 8); }
    // Where an address of the image lies in the file.
    uint32_t OffsetOf(uint32_t address) const {
        const uint32_t count = file_.Half(start_ + 6);
        uint32_t section = start_ + 24 + file_.Half(start_ + 20);
        for (uint32_t i = 0; i < count && i < 96; ++i, section += 40) {
            const uint32_t inside = address - file_.Word(section + 12);
            if (inside < file_.Word(section + 16)) {
                return file_.Word(section + 20) + inside;
            }
        }
        return kNowhere;
    }

  private:
    const Bytes& file_;
    uint32_t start_;
};

uint32_t FindExports(const Bytes& file, const Headers& headers) {
    const uint32_t table = headers.OffsetOf(headers.Directory(0));
    if (headers.Directory(0) == 0 || table == kNowhere) {
        return 0;
    }
    const uint32_t base = file.Word(table + 16), count = file.Word(table + 24);
    const uint32_t names = headers.OffsetOf(file.Word(table + 32)),
                   indices = headers.OffsetOf(file.Word(table + 36));
    uint32_t found = 0;
    for (uint32_t i = 0; i < count && i < 1000; ++i) {
        const uint32_t name = headers.OffsetOf(file.Word(names + i * 4));
        const uint32_t ordinal = base + file.Half(indices + i * 2);
        if (ordinal - 1 < kExports && file.IsText(name, kExportNames[ordinal - 1])) {
            found |= 1u << (ordinal - 1);
        }
    }
    return found;
}

// The signature of the version numbers is looked for, as the blocks around them need not be.
void FindVersion(const Bytes& file, const Headers& headers, uint16_t (&version)[4]) {
    constexpr uint32_t kSignature = 0xFEEF04BD, kMostBytes = 0x10000;
    const uint32_t resources = headers.OffsetOf(headers.Directory(2));
    if (headers.Directory(2) == 0 || resources == kNowhere) {
        return;
    }
    for (uint32_t at = resources; at < file.Size() && at - resources < kMostBytes; at += 4) {
        if (file.Word(at) == kSignature) {
            version[0] = static_cast<uint16_t>(file.Half(at + 10));
            version[1] = static_cast<uint16_t>(file.Half(at + 8));
            version[2] = static_cast<uint16_t>(file.Half(at + 14));
            version[3] = static_cast<uint16_t>(file.Half(at + 12));
            return;
        }
    }
}

constexpr uint32_t kPathBytes = 300;

// Looks in the package's list, beside this program: lines of a checksum, two blanks and a name.
void CompareWithList(Report& report, const char (&sum)[65]) {
    char path[kPathBytes];
    if (!system::OwnFolder(path, kPathBytes)) {
        return;
    }
    Line name;
    name << path << "\\SHA256.TXT";
    const system::File list = system::ReadFile(name.Text());
    if (list.bytes == nullptr) {
        return;
    }
    const Bytes text(list.bytes, list.size);
    for (uint32_t at = 0; at < list.size; ++at) {
        if (text.Begins(at + 64, "  KORV32.dll")) {
            if (text.Begins(at, sum)) {
                report.Say("             as in the package's SHA256.TXT");
            } else {
                report.Wrong(Line()
                             << "The checksum is not that of SHA256.TXT beside this program: "
                                "the file is damaged, or of another version. Copy it anew "
                                "from the package.");
            }
            break;
        }
    }
    system::FreeFile(list);
}

} // namespace

LibraryFacts ReadLibrary(const uint8_t* bytes, uint32_t size) {
    LibraryFacts facts = {LibraryState::NoLibrary, {}, 0};
    const Bytes file(bytes, size);
    const Headers headers(file);
    if (!headers.IsLibrary() || !headers.IsWhole()) {
        return facts;
    }
    facts.exports = FindExports(file, headers);
    FindVersion(file, headers, facts.version);
    facts.state = facts.exports == 0 ? LibraryState::OtherLibrary : LibraryState::Good;
    return facts;
}

void CheckLibrary(Report& report) {
    report.Say("File");
    char folder[kPathBytes];
    if (!system::SystemFolder(folder, kPathBytes)) {
        report.Wrong(Line() << "Windows does not tell where its SYSTEM folder is: start it anew.");
        return;
    }
    Line path;
    path << folder << "\\KORV32.dll";
    const system::File file = system::ReadFile(path.Text());
    if (file.bytes == nullptr) {
        report.Wrong(Line() << "There is no " << path.Text()
                            << ": click KORV32.inf of the package with the right mouse button and "
                               "choose Install, or copy the file there.");
        return;
    }
    report.Say(Line() << "  found      " << path.Text() << ", " << file.size << " bytes");
    const LibraryFacts facts = ReadLibrary(file.bytes, file.size);
    if (facts.state == LibraryState::NoLibrary) {
        report.Wrong(
            Line() << "It is no library of 32 bits: the file is damaged. Copy it anew from "
                      "the package.");
    } else if (facts.state == LibraryState::OtherLibrary) {
        report.Wrong(Line() << "It is a library, but not KORV32: something else has its name. Copy "
                               "the package's file there, if nobody needs this one.");
    } else {
        report.Say(Line() << "  version    " << uint32_t{facts.version[0]} << '.'
                          << uint32_t{facts.version[1]} << '.' << uint32_t{facts.version[2]});
        if (facts.exports == (1u << kExports) - 1) {
            report.Say(Line() << "  exports    all " << kExports);
        }
        for (uint32_t i = 0; i < kExports; ++i) {
            if ((facts.exports & 1u << i) == 0) {
                report.Wrong(Line() << "The export " << kExportNames[i] << ", ordinal " << (i + 1)
                                    << ", is missing: the file is damaged or of another version. "
                                       "Copy it anew from the package.");
            }
        }
    }
    char sum[65];
    Sha256(file.bytes, file.size, sum);
    report.Say(Line() << "  SHA-256    " << sum);
    CompareWithList(report, sum);
    system::FreeFile(file);
}

} // namespace chk
