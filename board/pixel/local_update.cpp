#include "board/pixel/local_update.h"

#include "board/pixel/depth.h"
#include "board/pixel/watch.h"

namespace board {

LocalUpdate DecodeLocalUpdate(const DeviceRow& chip, const RegisterFile& registers,
                              Memories& memories, FaultCounts& faults) {
    LocalUpdate update{};
    const bool copies = registers.Get(field::LBReadMode_ReadSource) != 0;
    const bool forced = !chip.IsPermedia() && registers.Get(field::Window_ForceUpdate) != 0 &&
                        registers.Get(field::LBWriteMode_Enable) != 0;
    if (!forced) {
        if (copies) {
            ++faults.unmodelled["local buffer copy that the window does not force"];
        }
        return update;
    }
    const bool fromRegister = registers.Get(field::Window_UpdateFromRegister) != 0;
    if (fromRegister == copies ||
        (fromRegister && registers.Get(field::DepthMode_Source) != kDepthFromRegister)) {
        ++faults.unmodelled["forced local buffer update in this mode"];
        return update;
    }
    update.way = fromRegister ? LocalUpdate::Way::Fill : LocalUpdate::Way::Copy;
    update.fill = registers[tag::Depth];
    update.target.memory = memories.localBuffer.data();
    update.target.bytesPerElement = sizeof(uint32_t);
    update.target.elements =
        static_cast<int64_t>(memories.localBuffer.size() / update.target.bytesPerElement);
    update.target.base = Signed(registers[tag::LBWindowBase]);
    update.target.pitch = PitchFromProducts(registers[tag::LBReadMode]);
    update.sourceBase = update.target.base + Signed(registers[tag::LBSourceOffset]);
    return update;
}

template <class Watch>
void UpdateLocalSpan(const LocalUpdate& update, const Span& whole, FaultCounts& faults,
                     Watch& watch) {
    Plane source = update.target;
    source.base = update.sourceBase;
    const bool copies = update.way == LocalUpdate::Way::Copy;
    Span span = whole;
    faults.badMemoryAccesses += update.target.ClipToMemory(span);
    if (copies && !span.Empty()) {
        faults.badMemoryAccesses += source.ClipToMemory(span);
    }
    const PixelWay way = copies ? PixelWay::LocalCopy : PixelWay::LocalFill;
    watch.CutLocal(way, PixelTest::Memory, whole, span);
    const int64_t direction = span.leftward ? -1 : 1;
    int64_t x = span.First();
    for (int64_t left = span.right - span.left; left > 0; --left, x += direction) {
        const int64_t to = update.target.Index(x, span.y);
        const int64_t from = source.Index(x, span.y);
        const uint32_t word = copies ? LoadElement<4>(source.memory + from * 4) : update.fill;
        watch.BeginLocal(way, x, span.y);
        StoreElement<4>(source.memory + to * 4, word);
        watch.TakeSource(copies ? from * 4 : -1);
        watch.WriteDepth();
        watch.End();
    }
}

template void UpdateLocalSpan(const LocalUpdate&, const Span&, FaultCounts&, Unwatched&);
template void UpdateLocalSpan(const LocalUpdate&, const Span&, FaultCounts&, Wrong&);
template void UpdateLocalSpan(const LocalUpdate&, const Span&, FaultCounts&, Watched&);

} // namespace board
