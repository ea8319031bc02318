#include "ui/fltk_layout.h"

#include <FL/Enumerations.H>
#include <FL/fl_draw.H>

#include <algorithm>
#include <cmath>
#include <string>

#include "dialogs/dialog_template.h"

namespace kvl::ui {

namespace {

// The least width across, in pixels, of a character unit that lets every
// label and check box text of `dialog` fit on one line in its control.
int UnitsToFitTexts(const DialogTemplate& dialog) {
  int units = 0;
  for (const ControlTemplate& c : dialog.controls) {
    if (c.text.empty() || c.width <= 0) continue;
    if (c.kind != ControlKind::LABEL && c.kind != ControlKind::CHECK_BOX) continue;
    const double needed = fl_width(std::string(c.text).c_str()) + TextMargin(c.kind);
    units = std::max(units, static_cast<int>(std::ceil(needed * 4.0 / c.width)));
  }
  return units;
}

}  // namespace

int TextMargin(ControlKind kind) {
  // A check box draws its box, a label-size square, with two pixels either
  // side ahead of the text.
  return kind == ControlKind::CHECK_BOX ? DIALOG_FONT_SIZE + 4 + 2 : 2;
}

DialogBaseUnits MeasureDialogFont() {
  // Across: the average width of the 52 letters, as the window system takes
  // it for a dialog's font, but no less than the template's texts need. The
  // templates were drawn for a narrower font than FLTK's sans serif, whose
  // wider letters would otherwise wrap or cut the longer texts.
  fl_font(FL_HELVETICA, DIALOG_FONT_SIZE);
  const double letters = fl_width("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
  const int x = std::max({static_cast<int>(std::lround(letters / 52.0)), UnitsToFitTexts(OptionsDialogTemplate()),
                          UnitsToFitTexts(LogDialogTemplate())});
  const int y = fl_height();
  if (x <= 0 || y <= 0) return TEMPLATE_FONT_UNITS;
  return {x, y};
}

int DialogUnitsToPixelsX(int du, DialogBaseUnits units) { return (du * units.x + 2) / 4; }
int DialogUnitsToPixelsY(int du, DialogBaseUnits units) { return (du * units.y + 4) / 8; }

PixelRect DialogRectToPixels(int x, int y, int w, int h, DialogBaseUnits units) {
  // Edges are converted, not sizes, so that neighbours stay flush.
  const int left = DialogUnitsToPixelsX(x, units);
  const int top = DialogUnitsToPixelsY(y, units);
  return {left, top, DialogUnitsToPixelsX(x + w, units) - left, DialogUnitsToPixelsY(y + h, units) - top};
}

}  // namespace kvl::ui
