#include "dialogs/dialog_template.h"

namespace kvl {
namespace {

using K = ControlKind;

constexpr ControlTemplate kOptionsControls[] = {
    {1, K::DEFAULT_BUTTON, "OK", "", true, 147, 153, 50, 14},
    {2, K::BUTTON, "Cancel", "", true, 251, 153, 50, 14},
    {1000, K::CHECK_BOX, "Export hidden nodes", "exporthidden", true, 7, 7, 81, 10},
    {1001, K::CHECK_BOX, "Export lights", "exportlights", false, 7, 20, 54, 10},
    {1003, K::CHECK_BOX, "Export node attributes", "exportnodeattributes", true, 7, 33, 87, 10},
    {1004, K::CHECK_BOX, "Optimize output", "optimize", true, 7, 98, 65, 10},
    {1005, K::CHECK_BOX, "Convert all custom nodes to groups", "ignorespecial", false, 7, 111, 127, 10},
    {1009, K::LABEL, "Export scale", "", true, 146, 7, 44, 10},
    {1006, K::EDIT_BOX, "", "scale", true, 267, 7, 34, 12},
    {1010, K::LABEL, "Animation sample rate (frames/smpl)", "", true, 146, 21, 115, 10},
    {1007, K::EDIT_BOX, "", "samplerate", true, 267, 22, 34, 12},
    {65535, K::LABEL, "Threshold for vertex duplication", "", true, 146, 35, 115, 10},
    {1008, K::EDIT_BOX, "", "threshold", true, 267, 36, 34, 12},
    {1012, K::SUNKEN_LABEL, "Ini file location:", "", true, 145, 104, 156, 26},
    {1013, K::SUNKEN_LABEL, "Quillstone build", "", true, 145, 133, 155, 12},
    {1014, K::CHECK_BOX, "Output log to c:\\kvlexp.log", "outputlog", true, 7, 124, 101, 10},
    {1019, K::CHECK_BOX, "Display log after export", "displaylog", true, 7, 137, 87, 10},
    {1020, K::CHECK_BOX, "Remove scaling", "removescaling", true, 7, 85, 84, 10},
    {1021, K::CHECK_BOX, "Export animations", "exportanims", true, 7, 46, 71, 10},
    {1022, K::CHECK_BOX, "Export vertex animations", "exportmorph", false, 7, 72, 93, 10},
    {1023, K::CHECK_BOX, "Enable adaptive sampling", "enableadaptivesampling", false, 7, 59, 97, 10},
    {1011, K::LABEL, "Position tolerance", "", false, 146, 51, 58, 10},
    {1015, K::EDIT_BOX, "", "postolerance", false, 267, 51, 34, 12},
    {1016, K::LABEL, "Rotation tolerance", "", false, 146, 66, 60, 10},
    {1017, K::EDIT_BOX, "", "rottolerance", false, 267, 66, 34, 12},
    {1025, K::LABEL, "Scale tolerance", "", false, 146, 81, 65, 10},
    {1026, K::EDIT_BOX, "", "scaletolerance", false, 267, 81, 34, 12},
};

constexpr ControlTemplate kLogControls[] = {
    {1, K::DEFAULT_BUTTON, "Close", "", true, 282, 254, 50, 14},
    {1009, K::LABEL, "Exporter log dump", "", true, 7, 7, 58, 8},
    {1017, K::LOG_TEXT, "", "", true, 7, 20, 325, 227},
};

constexpr DialogTemplate kOptionsDialog{101, "KVLExp Options", 308, 174, kOptionsControls};
constexpr DialogTemplate kLogDialog{102, "Dialog", 339, 275, kLogControls};

}  // namespace

const DialogTemplate& OptionsDialogTemplate() { return kOptionsDialog; }
const DialogTemplate& LogDialogTemplate() { return kLogDialog; }

const ControlTemplate* FindControlForKey(const DialogTemplate& dialog, std::string_view key) {
  if (key.empty()) return nullptr;
  for (const ControlTemplate& c : dialog.controls) {
    if (c.key == key) return &c;
  }
  return nullptr;
}

const ControlTemplate* FindControl(const DialogTemplate& dialog, int id) {
  for (const ControlTemplate& c : dialog.controls) {
    if (c.id == id) return &c;
  }
  return nullptr;
}

}  // namespace kvl
