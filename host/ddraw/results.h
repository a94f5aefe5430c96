#pragma once
// Result codes of DirectDraw and Direct3D by name.
#include "driver/platform/win32.h"

#include <stdexcept>
#include <string>

namespace host {

// "DDERR_OUTOFVIDEOMEMORY" and its like; codes without a name as "0x8876ABCD".
std::string ResultName(HRESULT result);

// Thrown by the convenience calls of the runtime when the driver answers with a failure.
class ResultError : public std::runtime_error {
  public:
    ResultError(const std::string& what, HRESULT result);
    HRESULT Result() const { return result_; }

  private:
    HRESULT result_;
};

// Throws ResultError unless `result` is 0.
void Check(const std::string& what, HRESULT result);

} // namespace host
