// The C interface of libkorv_board. An input: the choices of what is called with what.
#include "tests/board/capi/any_calls.h"
#include "tests/fuzz/input.h"

namespace fuzz {

namespace {

class ChosenBytes final : public capi_rig::Choices {
  public:
    explicit ChosenBytes(Bytes bytes) : input_(bytes) {}
    bool More() const override { return !input_.AtEnd(); }
    uint32_t Word() override { return input_.Word(); }
    uint32_t Below(uint32_t end) override { return input_.Below(end); }
    bool TakesItsTime() const override { return false; }

  private:
    Input input_;
};

} // namespace

void RunInterface(Bytes bytes) {
    constexpr uint64_t kMostCalls = 400;
    ChosenBytes choices(bytes);
    capi_rig::AnyCalls calls(choices);
    calls.Run(kMostCalls);
    if (calls.broken != nullptr) {
        Fail(calls.broken);
    }
}

} // namespace fuzz
