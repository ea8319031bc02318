// Dialog units to pixels. A dialog template measures in units of the
// dialog font: a quarter of its average character width across, an eighth
// of its height down. Measuring the font the window really draws with keeps
// every text fitting its control as it did with the template's own font.
#pragma once

#include "dialogs/dialog_template.h"

namespace kvl::ui {

struct DialogBaseUnits {
  int x;  // average character width, pixels
  int y;  // character height, pixels
};

// MS Sans Serif 8 on a 96 dpi screen, the template's own font.
inline constexpr DialogBaseUnits TEMPLATE_FONT_UNITS{6, 13};

// The size in pixels of the font the dialogs draw with (FLTK's sans serif):
// its line is 13 pixels high, as the template font's is.
inline constexpr int DIALOG_FONT_SIZE = 10;

// Measures the dialog font; the display must be open.
DialogBaseUnits MeasureDialogFont();

// Pixels of a control's width that its text cannot use.
int TextMargin(ControlKind kind);

struct PixelRect {
  int x, y, w, h;
};

// Rounds as the window system does: to the nearest pixel.
int DialogUnitsToPixelsX(int du, DialogBaseUnits units);
int DialogUnitsToPixelsY(int du, DialogBaseUnits units);
PixelRect DialogRectToPixels(int x, int y, int w, int h, DialogBaseUnits units);

}  // namespace kvl::ui
