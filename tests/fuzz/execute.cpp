// Execute buffers as the Direct3D runtime hands them to the driver. An input: the machine in three
// bytes, then what is done, one thing after the other.
#include "host/d3d/direct3d.h"
#include "host/ddraw/ddraw.h"
#include "host/display/machine.h"
#include "tests/fuzz/input.h"
#include "tests/fuzz/machine.h"
#include "tools/korv/chips/chips.h"

#include <memory>
#include <vector>

namespace fuzz {

namespace {

constexpr uint32_t kSide = 64; // of targets and textures, pixels

// A machine with one context on a small target.
class Machine {
  public:
    explicit Machine(Input& input) {
        const korv::ChipChoice& chip = korv::Chips()[input.Below(korv::Chips().size())];
        const uint8_t how = input.Byte(), what = input.Byte();
        host::DisplayConfig config;
        config.deviceId = chip.deviceId;
        config.delta = chip.setupUnit && chip.deviceId != DevicePermedia2;
        config.width = 320;
        config.height = 200;
        config.bits = (how & 3) == 0 ? 32 : (how & 3) == 1 ? 8 : 16;
        config.frameBufferBytes = config.localBufferBytes = 1u << 20;
        if ((how & 4) != 0) {
            config.registry["Direct3DHAL.NoDMA"] = "1";
        }
        if ((how & 8) != 0) {
            config.registry["Direct3DHAL.SubBuffers"] = "2";
        }
        if ((how & 16) != 0) {
            config.timing.dmaWordsPerTick = 16;
            config.timing.interruptLatency = 9;
        }
        host::PowerCycle();
        display_ = std::make_unique<host::Display>(config);
        display_->Board().SetProbe(&drawing_);
        Expect(display_->Start(), "the driver refuses the display");
        directDraw_ = std::make_unique<host::DirectDraw>(*display_);
        host::Surface& target = directDraw_->CreateTarget(kSide, kSide);
        host::Surface* const depth =
            (what & 1) != 0 ? &directDraw_->CreateZBuffer(kSide, kSide) : nullptr;
        device_ = std::make_unique<host::Device3D>(*directDraw_, target, depth);
        if (chip.drawsTextures && (what & 2) != 0) {
            texture_ = device_->CreateTexture(directDraw_->CreateTexture(
                kSide / 2, kSide / 2, (what & 4) != 0 ? host::Format4444() : host::Format565(),
                (what & 8) != 0 ? 3 : 1));
        }
    }
    // What the driver is in the middle of cannot be taken down: the records stay.
    void Abandon() {
        (void)device_.release();
        (void)directDraw_.release();
    }

    void Do(Input& input) {
        switch (input.Byte() % 8) {
        case 0:
            device_->SetState(input.Byte(), uint32_t{input.Byte()});
            break;
        case 1:
            device_->SetState(input.Word(), input.Word());
            break;
        case 2:
            device_->SetState(D3DRENDERSTATE_TEXTUREHANDLE, texture_);
            break;
        case 3:
            device_->FlushStates();
            break;
        case 4:
            (input.Byte() & 1) != 0 ? device_->BeginScene() : device_->EndScene();
            break;
        default:
            Execute(input);
            break;
        }
    }
    void Finish() { device_->Finish(); }

  private:
    void Execute(Input& input) {
        host::ExecuteBuffer buffer;
        for (uint32_t count = 1 + input.Below(4); count != 0; --count) {
            AddInstruction(input, buffer);
        }
        std::vector<D3DTLVERTEX> vertices(input.Below(24));
        for (D3DTLVERTEX& vertex : vertices) {
            vertex = ReadVertex(input);
        }
        device_->status = input.Byte();
        device_->Execute(buffer, vertices);
    }

    static void AddInstruction(Input& input, host::ExecuteBuffer& buffer) {
        struct Kind {
            uint8_t opcode, bytes;
        };
        constexpr Kind kKinds[] = {
            {D3DOP_TRIANGLE, sizeof(D3DTRIANGLE)}, {D3DOP_TRIANGLE, sizeof(D3DTRIANGLE)},
            {D3DOP_LINE, sizeof(D3DLINE)},         {D3DOP_POINT, sizeof(D3DPOINT)},
            {D3DOP_STATERENDER, sizeof(D3DSTATE)}, {D3DOP_EXIT, 0}};
        const uint8_t select = input.Byte();
        if (select >= 0xE0) {
            // Whatever an application may have written there.
            const uint8_t opcode = input.Byte(), bytes = input.Byte();
            const auto count = static_cast<uint16_t>(input.Below(0x10000));
            buffer.Instruction(opcode, bytes, count, input.Take(size_t{bytes} * count));
            return;
        }
        const Kind& kind = kKinds[select % std::size(kKinds)];
        const auto count = static_cast<uint16_t>(input.Below(12));
        std::vector<uint16_t> records(size_t{kind.bytes} * count / 2);
        for (uint16_t& word : records) {
            word = input.Byte();
        }
        buffer.Instruction(kind.opcode, kind.bytes, count,
                           {reinterpret_cast<const uint8_t*>(records.data()), records.size() * 2});
    }

    static D3DTLVERTEX ReadVertex(Input& input) {
        D3DTLVERTEX vertex{};
        const uint8_t form = input.Byte();
        const auto number = [&](uint32_t bit, float unit) {
            return (form >> bit & 1) != 0 ? std::bit_cast<float>(input.Word())
                                          : static_cast<float>(input.Byte()) * unit;
        };
        vertex.sx = number(0, 0.25f);
        vertex.sy = number(0, 0.25f);
        vertex.sz = number(1, 1 / 256.0f);
        vertex.rhw = number(2, 1 / 64.0f);
        vertex.tu = number(3, 1 / 64.0f);
        vertex.tv = number(3, 1 / 64.0f);
        if ((form & 16) != 0) {
            vertex.color = input.Word();
            vertex.specular = input.Word();
        }
        return vertex;
    }

    DrawingLimit drawing_{1u << 20};
    std::unique_ptr<host::Display> display_;
    std::unique_ptr<host::DirectDraw> directDraw_;
    std::unique_ptr<host::Device3D> device_;
    uint32_t texture_ = 0;
};

} // namespace

void RunExecute(Bytes bytes) {
    Input input(bytes);
    const WaitLimit waits;
    Machine machine(input);
    try {
        for (int left = 40; left != 0 && !input.AtEnd(); --left) {
            machine.Do(input);
        }
        machine.Finish();
    } catch (const host::ResultError&) {
        // The driver refuses it.
    } catch (const WaitedTooLong&) {
        machine.Abandon();
    }
}

} // namespace fuzz
