#include "tests/windows95/pe_image.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

PEImage::PEImage(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("can't read " + path + ": build the preset windows95 first");
    }
    bytes_.assign(std::istreambuf_iterator<char>(file), {});
    ReadHeaders();
    ReadExports();
    ReadImports();
    ReadRelocations();
}

void PEImage::ReadHeaders() {
    const auto header = At<uint32_t>(0x3C);
    if (At<uint16_t>(0) != 0x5A4D || At<uint32_t>(header) != 0x00004550) {
        throw std::runtime_error("no PE file");
    }
    machine = At<uint16_t>(header + 4);
    const auto sectionCount = At<uint16_t>(header + 6);
    timeStamp = At<uint32_t>(header + 8);
    symbolTable = At<uint32_t>(header + 12);
    symbolCount = At<uint32_t>(header + 16);
    const auto optionalBytes = At<uint16_t>(header + 20);
    characteristics = At<uint16_t>(header + 22);

    const uint32_t optional = header + 24;
    magic = At<uint16_t>(optional);
    entry = At<uint32_t>(optional + 16);
    imageBase = At<uint32_t>(optional + 28);
    osMajor = At<uint16_t>(optional + 40);
    osMinor = At<uint16_t>(optional + 42);
    subsystemMajor = At<uint16_t>(optional + 48);
    subsystemMinor = At<uint16_t>(optional + 50);
    imageBytes = At<uint32_t>(optional + 56);
    subsystem = At<uint16_t>(optional + 68);
    dllCharacteristics = At<uint16_t>(optional + 70);
    for (uint32_t i = 0; i < kDirectories; ++i) {
        directories[i] = {At<uint32_t>(optional + 96 + i * 8),
                          At<uint32_t>(optional + 100 + i * 8)};
    }

    for (uint32_t i = 0; i < sectionCount; ++i) {
        const uint32_t at = optional + optionalBytes + i * 40;
        std::string name;
        for (uint32_t c = 0; c < 8 && At<char>(at + c) != 0; ++c) {
            name += At<char>(at + c);
        }
        sections.push_back({name, At<uint32_t>(at + 8), At<uint32_t>(at + 12),
                            At<uint32_t>(at + 16), At<uint32_t>(at + 20), At<uint32_t>(at + 36)});
    }
}

const PESection* PEImage::SectionAt(uint32_t address) const {
    for (const PESection& section : sections) {
        if (address - section.address < section.virtualSize) {
            return &section;
        }
    }
    return nullptr;
}

uint32_t PEImage::OffsetOf(uint32_t address) const {
    const PESection* section = SectionAt(address);
    if (section == nullptr || address - section->address >= section->rawSize) {
        throw std::out_of_range("address outside the file");
    }
    return section->rawOffset + (address - section->address);
}

uint32_t PEImage::Word(uint32_t address) const {
    return At<uint32_t>(OffsetOf(address));
}

std::string PEImage::Text(uint32_t address) const {
    std::string text;
    for (uint32_t at = OffsetOf(address); At<char>(at) != 0; ++at) {
        text += At<char>(at);
    }
    return text;
}

void PEImage::ReadExports() {
    if (directories[kExports].address == 0) {
        return;
    }
    const uint32_t table = OffsetOf(directories[kExports].address);
    exportTimeStamp = At<uint32_t>(table + 4);
    dllName = Text(At<uint32_t>(table + 12));
    ordinalBase = At<uint32_t>(table + 16);
    exportCount = At<uint32_t>(table + 20);
    const auto nameCount = At<uint32_t>(table + 24);
    const uint32_t functions = OffsetOf(At<uint32_t>(table + 28));
    const uint32_t names = OffsetOf(At<uint32_t>(table + 32));
    const uint32_t indices = OffsetOf(At<uint32_t>(table + 36));
    for (uint32_t i = 0; i < nameCount; ++i) {
        const auto index = At<uint16_t>(indices + i * 2);
        exports[Text(At<uint32_t>(names + i * 4))] = {ordinalBase + index,
                                                      At<uint32_t>(functions + index * 4)};
    }
}

void PEImage::ReadImports() {
    for (uint32_t at = directories[kImports].address; Word(at + 12) != 0; at += 20) {
        const std::string dll = Text(Word(at + 12));
        const uint32_t lookup = Word(at) != 0 ? Word(at) : Word(at + 16);
        for (uint32_t i = 0; Word(lookup + i) != 0; i += 4) {
            const uint32_t entryWord = Word(lookup + i);
            if ((entryWord & 0x80000000) != 0) {
                ++importsByOrdinal;
            } else {
                imports.push_back({dll, Text(entryWord + 2)});
            }
        }
    }
}

std::set<std::string>
PEImage::ImportsBeyond(const std::map<std::string, std::set<std::string>>& listed) const {
    std::set<std::string> beyond;
    for (const PEImport& import : imports) {
        const auto dll = listed.find(import.dll);
        if (dll == listed.end() || !dll->second.contains(import.name)) {
            beyond.insert(import.dll + " " + import.name);
        }
    }
    return beyond;
}

void PEImage::ReadRelocations() {
    const PEDirectory directory = directories[kRelocations];
    uint32_t at = directory.address;
    while (at < directory.address + directory.size) {
        const uint32_t page = Word(at);
        const uint32_t blockBytes = Word(at + 4);
        if (blockBytes < 8) {
            throw std::out_of_range("relocation block without a size");
        }
        for (uint32_t i = 8; i < blockBytes; i += 2) {
            const auto item = At<uint16_t>(OffsetOf(at + i));
            if (item >> 12 != 0) {
                relocationKinds.push_back(item >> 12);
                relocations.push_back(page + (item & 0xFFF));
            }
        }
        at += blockBytes;
    }
}
