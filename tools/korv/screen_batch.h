#pragma once
// Triangles given in screen coordinates.
#include "tools/korv/pipeline.h"

namespace korv {

class ScreenBatch {
  public:
    // Adds a vertex at (x, y) pixels and depth `z` from 0 near to 1 far; its index.
    WORD Add(double x, double y, double z, D3DCOLOR colour);
    void Triangle(WORD a, WORD b, WORD c);
    // A rectangle in one colour.
    void Rectangle(double left, double top, double right, double bottom, D3DCOLOR colour,
                   double z = 0.5);
    // Draws what was added and starts anew.
    void Draw(Painter& painter);

  private:
    Batch batch_;
};

} // namespace korv
