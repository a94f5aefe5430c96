#pragma once
// The 16-bit driver's software cursor draws with the chip too.
#include "driver/core/chipinfo.h"

// Keeps the cursor off the chip for as long as the object lives. Not counted: the first to end lets
// the cursor draw again. By hand it is done only where set and clear lie in different calls (the
// driver's lock, the exported switches of the cursor), and by a download that clears ahead of its
// blit.
class CursorAway {
  public:
    explicit CursorAway(ChipInfo* chip) : chip_(chip) { SetFlag(chip_, CursorExclude); }
    ~CursorAway() { ClearFlag(chip_, CursorExclude); }
    CursorAway(const CursorAway&) = delete;
    CursorAway& operator=(const CursorAway&) = delete;

  private:
    ChipInfo* chip_;
};
