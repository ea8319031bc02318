// The two dialog templates: every control with its id, kind, text, the
// setting it is bound to, whether it can be used, and its place in dialog
// units. Toolkits lay the dialogs out from these tables.
#pragma once

#include <span>
#include <string_view>

namespace kvl {

enum class ControlKind { DEFAULT_BUTTON, BUTTON, CHECK_BOX, LABEL, SUNKEN_LABEL, EDIT_BOX, LOG_TEXT };

struct ControlTemplate {
  int id;
  ControlKind kind;
  std::string_view text;  // the template's own text
  std::string_view key;   // the bound setting, empty for none
  bool enabled;
  int x, y, width, height;
};

struct DialogTemplate {
  int resourceId;
  std::string_view title;
  int width, height;  // dialog units; the font is MS Sans Serif 8
  std::span<const ControlTemplate> controls;  // template order is tab order
};

inline constexpr int IDOK = 1;
inline constexpr int IDCANCEL = 2;

inline constexpr int IDC_LOCATION_TEXT = 1012;
inline constexpr int IDC_BUILD_TEXT = 1013;
inline constexpr int IDC_LOG_TEXT = 1017;

const DialogTemplate& OptionsDialogTemplate();
const DialogTemplate& LogDialogTemplate();

// The control of `dialog` bound to setting `key`, or null.
const ControlTemplate* FindControlForKey(const DialogTemplate& dialog, std::string_view key);
const ControlTemplate* FindControl(const DialogTemplate& dialog, int id);

}  // namespace kvl
