// packaging/windows95/include/ against the driver's own headers.
#include "driver/core/driverdata.h"
#include "driver/core/records/context_block.h"
#include "driver/core/records/private_surface.h"
#include "driver/platform/minivdd.h"
#include "tests/windows95/project_files.h"

#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <string>

extern "C" {
#include "packaging/windows95/include/korv32.h"
}

namespace {

using test::kProject;
using test::Read;

const std::filesystem::path kHeaders = kProject / "packaging/windows95/include";

using Offsets = std::map<std::string, size_t>;

// "ChipInfo_Flags" and so on, as this compiler lays the driver's own records out.
Offsets DriversOffsets() {
    Offsets offsets;
#define RECORD(ours, inC) offsets[#ours "_RecordBytes"] = sizeof(ours);
#define FIELD(ours, field) offsets[#ours "_" #field] = offsetof(ours, field);
#include "tests/windows95/layout/neighbours.def"
#undef RECORD
#undef FIELD
    return offsets;
}

template <class Record>
struct InC;
#define RECORD(ours, inC)                                                                          \
    template <>                                                                                    \
    struct InC<ours> {                                                                             \
        using Type = inC;                                                                          \
    };
#define FIELD(ours, field)
#include "tests/windows95/layout/neighbours.def"
#undef RECORD
#undef FIELD

TEST(NeighbourHeaders, LayRecordsOutAsTheDriver) {
#define RECORD(ours, inC) EXPECT_EQ(sizeof(ours), sizeof(inC)) << #ours;
#define FIELD(ours, field)                                                                         \
    EXPECT_EQ(offsetof(ours, field), offsetof(InC<ours>::Type, field)) << #ours " " #field;        \
    EXPECT_EQ(sizeof(ours::field), sizeof(InC<ours>::Type::field)) << #ours " " #field;
#include "tests/windows95/layout/neighbours.def"
#undef RECORD
#undef FIELD
}

// Fields of the C headers' records, by the driver's name of the record.
std::set<std::string> FieldsInC() {
    std::map<std::string, std::string> ours;
#define RECORD(name, inC) ours[#inC] = #name;
#define FIELD(ours, field)
#include "tests/windows95/layout/neighbours.def"
#undef RECORD
#undef FIELD
    std::set<std::string> fields;
    for (const auto& entry : std::filesystem::directory_iterator(kHeaders)) {
        std::string text = Read(entry.path());
        text = std::regex_replace(text, std::regex(R"(/\*[^*]*(\*[^*/][^*]*)*\*/)"), "");
        static const std::regex record(R"(typedef struct (\w+) \{([^}]*)\} (\w+);)");
        for (std::sregex_iterator it(text.begin(), text.end(), record), end; it != end; ++it) {
            EXPECT_EQ((*it)[1], (*it)[3]);
            EXPECT_TRUE(ours.contains((*it)[1])) << (*it)[1] << " is in no list";
            const std::string body = (*it)[2];
            static const std::regex field(R"((\w+)(\[[^\]]*\])?;)");
            for (std::sregex_iterator f(body.begin(), body.end(), field); f != end; ++f) {
                if (!(*f)[1].str().starts_with("Unknown")) {
                    fields.insert(ours[(*it)[1]] + "_" + (*f)[1].str());
                }
            }
        }
    }
    return fields;
}

TEST(NeighbourHeaders, HaveNoFieldThatIsNotCompared) {
    std::set<std::string> compared;
    for (const auto& [name, offset] : DriversOffsets()) {
        if (!name.ends_with("_RecordBytes")) {
            compared.insert(name);
        }
    }
    EXPECT_EQ(FieldsInC(), compared);
}

Offsets Listed(const char* file, const char* pattern) {
    const std::string text = Read(kHeaders / file);
    const std::regex line(pattern);
    Offsets offsets;
    for (std::sregex_iterator it(text.begin(), text.end(), line), end; it != end; ++it) {
        EXPECT_TRUE(offsets.emplace((*it)[1], std::stoul((*it)[2], nullptr, 16)).second)
            << (*it)[1];
    }
    return offsets;
}

TEST(NeighbourHeaders, ListTheDriversOffsets) {
    EXPECT_EQ(Listed("korvoffs.h", R"(\n#define KORV_(\w+)\s+0x([0-9A-F]+)(?=\n))"),
              DriversOffsets());
    EXPECT_EQ(Listed("korvoffs.inc", R"(\nKORV_(\w+)\s+equ ([0-9][0-9A-F]*)h(?=\n))"),
              DriversOffsets());
}

struct Constant {
    const char* name;
    uint32_t inC, ours;
};

const Constant kConstants[] = {
    {"KORV_MOST_DMA_BUFFERS", KORV_MOST_DMA_BUFFERS,
     sizeof(ChipInfo::DMABufferLinear) / sizeof(uint32_t)},
    {"KORV_QUEUE_ENTRIES", KORV_QUEUE_ENTRIES, sizeof(ChipInfo::QueueCount) / sizeof(uint32_t)},
    // What the path that the driver puts together has room for.
    {"KORV_MOST_REGISTRY_NAME", KORV_MOST_REGISTRY_NAME,
     52 - sizeof("SOFTWARE\\") - sizeof("\\DirectX") + 1},
    {"KORV_CHIP_DISCONNECT", KORV_CHIP_DISCONNECT, DisconnectUsable},
    {"KORV_CHIP_TWO_SUB_BUFFERS", KORV_CHIP_TWO_SUB_BUFFERS, TwoSubBuffers},
    {"KORV_CHIP_CURSOR_EXCLUDE", KORV_CHIP_CURSOR_EXCLUDE, CursorExclude},
    {"KORV_CHIP_DELTA", KORV_CHIP_DELTA, DeltaPresent},
    {"KORV_CHIP_BLANK_SEEN", KORV_CHIP_BLANK_SEEN, VBlankSeen},
    {"KORV_CHIP_BLANK_BY_INT", KORV_CHIP_BLANK_BY_INT, VBlankByInterrupt},
    {"KORV_DEVICE_SX", KORV_DEVICE_SX, DeviceSX},
    {"KORV_DEVICE_TX", KORV_DEVICE_TX, DeviceTX},
    {"KORV_DEVICE_MX", KORV_DEVICE_MX, DeviceMX},
    {"KORV_DEVICE_PERMEDIA", KORV_DEVICE_PERMEDIA, DevicePermedia},
    {"KORV_DEVICE_PERMEDIA2", KORV_DEVICE_PERMEDIA2, DevicePermedia2},
    {"KORV_DEVICE_PERMEDIA_SECOND", KORV_DEVICE_PERMEDIA_SECOND, DevicePermediaSecond},
    {"KORV_DEVICE_PERMEDIA2_SECOND", KORV_DEVICE_PERMEDIA2_SECOND, DevicePermedia2Second},
    {"KORV_FAMILY_GLINT", KORV_FAMILY_GLINT, FamilyGlint},
    {"KORV_FAMILY_PERMEDIA", KORV_FAMILY_PERMEDIA, FamilyPermedia},
    {"KORV_REVISION_ONE", KORV_REVISION_ONE, kRevisionOne},
    {"KORV_DMA_IDLE", KORV_DMA_IDLE, DMAIdle},
    {"KORV_DMA_QUEUE_ON", KORV_DMA_QUEUE_ON, DMAQueueOn},
    {"KORV_CONTEXTS_PER_BLOCK", KORV_CONTEXTS_PER_BLOCK, kContextsPerBlock},
    {"KORV_LIST_CLIENT", KORV_LIST_CLIENT, kContextTypeClient},
    {"KORV_LIST_DIRECT3D", KORV_LIST_DIRECT3D, kContextTypeDirect3D},
    {"KORV_CONTEXT_2D", KORV_CONTEXT_2D, kContext2D},
    {"KORV_NO_CONTEXT", KORV_NO_CONTEXT, kNoContext},
    {"KORV_TYPE_LIST", KORV_TYPE_LIST, 0xFFFF}, // any number that is no slot's
    {"KORV_NODES_PER_GROUP", KORV_NODES_PER_GROUP, kNodesPerGroup},
    {"KORV_NODE_SPARE", KORV_NODE_SPARE, NodeSpare},
    {"KORV_NODE_ALLOCATED", KORV_NODE_ALLOCATED, NodeAllocated},
    {"KORV_NODE_FREE", KORV_NODE_FREE, NodeFree},
    {"KORV_NODE_UNLINKED", KORV_NODE_UNLINKED, NodeUnlinked},
    {"KORV_NO_NODE", KORV_NO_NODE, kNoNode},
    {"KORV_PIXELS_8", KORV_PIXELS_8, PixelSize8},
    {"KORV_PIXELS_16", KORV_PIXELS_16, PixelSize16},
    {"KORV_PIXELS_32", KORV_PIXELS_32, PixelSize32},
    {"KORV_PIXELS_24", KORV_PIXELS_24, PixelSize24},
    {"KORV_BOARD_AGP", KORV_BOARD_AGP, BoardOnAGP},
    {"KORV_VDD_ADD_CONTEXTS", KORV_VDD_ADD_CONTEXTS, MiniVDDAddContextBlock},
    {"KORV_VDD_MEMORY", KORV_VDD_MEMORY, MiniVDDMemoryService},
    {"KORV_VDD_GET_DRIVER_DATA", KORV_VDD_GET_DRIVER_DATA, MiniVDDGetDriverData},
    {"KORV_MEMORY_ALLOCATE", KORV_MEMORY_ALLOCATE, MemoryServiceAllocate},
    {"KORV_MEMORY_FREE", KORV_MEMORY_FREE, MemoryServiceFree},
    {"KORV_REG_INT_ENABLE", KORV_REG_INT_ENABLE, reg::IntEnable},
    {"KORV_REG_INT_FLAGS", KORV_REG_INT_FLAGS, reg::IntFlags},
    {"KORV_REG_IN_FIFO_SPACE", KORV_REG_IN_FIFO_SPACE, reg::InFIFOSpace},
    {"KORV_REG_OUT_FIFO_WORDS", KORV_REG_OUT_FIFO_WORDS, reg::OutFIFOWords},
    {"KORV_REG_DMA_ADDRESS", KORV_REG_DMA_ADDRESS, reg::DMAAddress},
    {"KORV_REG_DMA_COUNT", KORV_REG_DMA_COUNT, reg::DMACount},
    {"KORV_REG_ERROR_FLAGS", KORV_REG_ERROR_FLAGS, reg::ErrorFlags},
    {"KORV_REG_FIFO_WINDOW", KORV_REG_FIFO_WINDOW, reg::FIFOWindow},
    {"KORV_REG_MAPPED", KORV_REG_MAPPED, reg::MappedRegisters},
    {"KORV_TAG_SCISSOR_MIN_XY", KORV_TAG_SCISSOR_MIN_XY, tag::ScissorMinXY},
    {"KORV_TAG_AREA_STIPPLE", KORV_TAG_AREA_STIPPLE, tag::AreaStipplePattern0},
    {"KORV_TAG_FILTER_MODE", KORV_TAG_FILTER_MODE, tag::FilterMode},
    {"KORV_TAG_SYNC", KORV_TAG_SYNC, tag::Sync},
    {"KORV_INT_DMA", KORV_INT_DMA, field::IntFlags_DMA.Mask()},
    {"KORV_INT_ERROR", KORV_INT_ERROR, field::IntFlags_Error.Mask()},
    {"KORV_INT_RETRACE", KORV_INT_RETRACE, field::IntFlags_Retrace.Mask()},
    {"KORV_ERRORS", KORV_ERRORS,
     field::ErrorFlags_InputFIFO.Mask() | field::ErrorFlags_OutputFIFO.Mask() |
         field::ErrorFlags_Unknown2.Mask()},
    {"KORV_FILTER_SYNC_TAG", KORV_FILTER_SYNC_TAG, field::FilterMode_SyncTag.Mask()},
};

TEST(NeighbourHeaders, HaveTheDriversConstants) {
    std::set<std::string> compared;
    for (const Constant& constant : kConstants) {
        EXPECT_EQ(constant.inC, constant.ours) << constant.name;
        compared.insert(constant.name);
    }
    EXPECT_STREQ(KORV_VDD_NAME, kMiniVDDName);
    std::set<std::string> defined;
    for (const auto& entry : std::filesystem::directory_iterator(kHeaders)) {
        const std::string text = Read(entry.path());
        static const std::regex number(R"(\n#define (KORV_\w+) (?:0x)?[0-9])");
        for (std::sregex_iterator it(text.begin(), text.end(), number), end; it != end; ++it) {
            if (entry.path().filename() != "korvoffs.h") {
                defined.insert((*it)[1]);
            }
        }
    }
    EXPECT_EQ(defined, compared);
}

// Names that a compiler under DOS can open.
TEST(NeighbourHeaders, HaveShortNames) {
    for (const char* folder : {"include", "kit"}) {
        for (const auto& entry :
             std::filesystem::directory_iterator(kProject / "packaging/windows95" / folder)) {
            EXPECT_TRUE(std::regex_match(entry.path().filename().string(),
                                         std::regex(R"([a-z0-9]{1,8}\.[a-z]{1,3})")))
                << entry.path();
        }
    }
}

} // namespace
