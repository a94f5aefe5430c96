#pragma once
// Where the elements of a JSON text stand.
#include <map>
#include <string>
#include <string_view>

namespace korv {

// Lines, from 1, of all elements of a JSON text by their JSON pointers; the element of an object
// is where its key is.
class ScriptLines {
  public:
    // `text` must be valid JSON.
    explicit ScriptLines(std::string_view text);

    // The line of the element, or of the nearest one around it.
    int Of(std::string_view pointer) const;
    // Pointer of the first key that an object has twice; empty if there is none.
    const std::string& Duplicate() const { return duplicate_; }

  private:
    std::map<std::string, int, std::less<>> lines_;
    std::string duplicate_;

    friend class LineScan;
};

// Line, from 1, of a byte offset in `text`.
int LineAt(std::string_view text, size_t offset);

} // namespace korv
