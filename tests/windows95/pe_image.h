#pragma once
// A PE file, read by the published layout of its headers.
#include <cstdint>
#include <cstring>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

struct PESection {
    std::string name;
    uint32_t virtualSize, address, rawSize, rawOffset, characteristics;
};

struct PEDirectory {
    uint32_t address, size;
};

struct PEExport {
    uint32_t ordinal, address;
};

struct PEImport {
    std::string dll, name;
};

// The version resource: its numbers, most significant first, and its texts by key.
struct PEVersion {
    uint16_t file[4] = {}, product[4] = {};
    uint32_t os = 0, type = 0;
    std::map<std::string, std::string> texts;
    uint32_t languageAndPage = 0; // as "Translation" has it
};

// Addresses are relative to the image base unless told otherwise. Reading outside the file throws
// std::out_of_range.
class PEImage {
  public:
    static constexpr uint32_t kExports = 0, kImports = 1, kResources = 2, kRelocations = 5,
                              kDebug = 6, kThreadStorage = 9, kDirectories = 16;
    static constexpr uint32_t kRelocationWord = 3; // a 32-bit address

    // Throws std::runtime_error if the file can't be read or is no PE file.
    explicit PEImage(const std::string& path);

    // Fields of the headers.
    uint16_t machine, characteristics, magic, osMajor, osMinor, subsystemMajor, subsystemMinor,
        subsystem, dllCharacteristics;
    uint32_t timeStamp, symbolTable, symbolCount, entry, imageBase, imageBytes;
    PEDirectory directories[kDirectories];
    std::vector<PESection> sections;

    // The exports' DLL name, time stamp, ordinal base, count of addresses, and table by name.
    std::string dllName;
    uint32_t exportTimeStamp = 0, ordinalBase = 0, exportCount = 0;
    std::map<std::string, PEExport> exports;
    // Imports by name; of those by ordinal only the number counts.
    std::vector<PEImport> imports;
    uint32_t importsByOrdinal = 0;
    // The imports that are not among these names by DLL, as "dll name".
    std::set<std::string>
    ImportsBeyond(const std::map<std::string, std::set<std::string>>& listed) const;
    // Places to correct when the image moves, and the kinds of all entries but padding.
    std::vector<uint32_t> relocations;
    std::vector<uint32_t> relocationKinds;

    // Of the only version resource. Throws std::runtime_error if the resources are not so.
    PEVersion Version() const;

    const PESection* SectionAt(uint32_t address) const;
    uint32_t Word(uint32_t address) const;

  private:
    template <class T>
    T At(uint32_t offset) const {
        if (bytes_.size() < sizeof(T) || offset > bytes_.size() - sizeof(T)) {
            throw std::out_of_range("offset outside the file");
        }
        T value;
        std::memcpy(&value, bytes_.data() + offset, sizeof(T));
        return value;
    }
    uint32_t OffsetOf(uint32_t address) const;
    std::string Text(uint32_t address) const;
    void ReadHeaders();
    void ReadExports();
    void ReadImports();
    void ReadRelocations();
    void ReadVersionBlock(uint32_t at, PEVersion& version) const;

    std::vector<uint8_t> bytes_;
};
