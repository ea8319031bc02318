#include "dialogs/options_dialog.h"

#include <bit>

#include "dialogs/dialog_toolkit.h"

namespace kvl {
namespace {

// The inclusive limits, as the 32-bit floats the checks compare with.
const float kMinScale = std::bit_cast<float>(0x2EDBE6FFu);  // 1e-10
const float kMaxFloat = std::bit_cast<float>(0x501502F9u);  // 1e10
constexpr size_t kMaxLabelChars = 512;

int32_t AsCheck(bool value) { return value ? 1 : 0; }

}  // namespace

std::string MakeBuildText() { return std::string("KVLExp build ") + __DATE__ + " " + __TIME__; }

OptionsDialog::OptionsDialog(const ExportSettings& s, void* /*parentWindow*/)
    : samplerate_(static_cast<uint32_t>(s.samplerate)),
      exporthidden_(AsCheck(s.exporthidden)),
      ignorespecial_(AsCheck(s.ignorespecial)),
      exportlights_(AsCheck(s.exportlights)),
      exportnodeattributes_(AsCheck(s.exportnodeattributes)),
      optimize_(AsCheck(s.optimize)),
      scale_(s.scale),
      threshold_(static_cast<uint32_t>(s.threshold)),
      buildText_(MakeBuildText()),
      locationText_("Ini file location: " + s.iniPath),
      outputlog_(AsCheck(s.outputlog)),
      displaylog_(AsCheck(s.displaylog)),
      removescaling_(AsCheck(s.removescaling)),
      exportanims_(AsCheck(s.exportanims)),
      exportmorph_(AsCheck(s.exportmorph)),
      enableadaptivesampling_(AsCheck(s.enableadaptivesampling)),
      postolerance_(s.postolerance),
      rottolerance_(s.rottolerance),
      scaletolerance_(s.scaletolerance),
      iniPath_(s.iniPath),
      fileLines_(s.fileLines) {}

std::string OptionsDialog::SettingsFileLineOf(const std::string& key) const {
  auto it = fileLines_.find(key);
  return it == fileLines_.end() ? "" : iniPath_ + " line " + std::to_string(it->second);
}

void OptionsDialog::Exchange(DataExchange& dx) {
  // One control after the other; the first refusal ends the exchange.
  dx.Uint(1007, samplerate_, 1, 999999999, "Animation sample rate (frames/smpl)") &&
      dx.Check(1000, exporthidden_) && dx.Check(1005, ignorespecial_) && dx.Check(1001, exportlights_) &&
      dx.Check(1003, exportnodeattributes_) && dx.Check(1004, optimize_) &&
      dx.Float(1006, scale_, kMinScale, kMaxFloat, "Export scale") &&
      dx.Uint(1008, threshold_, 0, 4294967295u, "Threshold for vertex duplication") &&
      dx.Text(IDC_BUILD_TEXT, buildText_, kMaxLabelChars, "Build text") &&
      dx.Text(IDC_LOCATION_TEXT, locationText_, kMaxLabelChars, "Ini file location") &&
      dx.Check(1014, outputlog_) && dx.Check(1019, displaylog_) && dx.Check(1020, removescaling_) &&
      dx.Check(1021, exportanims_) && dx.Check(1022, exportmorph_) && dx.Check(1023, enableadaptivesampling_) &&
      dx.Float(1015, postolerance_, 0.0f, kMaxFloat, "Position tolerance") &&
      dx.Float(1017, rottolerance_, 0.0f, kMaxFloat, "Rotation tolerance") &&
      dx.Float(1026, scaletolerance_, 0.0f, kMaxFloat, "Scale tolerance");
}

void OptionsDialog::LoadControls() {
  DataExchange dx(controls_, false);
  Exchange(dx);
}

bool OptionsDialog::SaveControls() {
  DataExchange dx(controls_, true);
  Exchange(dx);
  lastError_ = dx.failed() ? dx.message() : "";
  lastRefusedKey_.clear();
  if (const ControlTemplate* control = FindControl(OptionsDialogTemplate(), dx.failedControl()); dx.failed() && control) {
    lastRefusedKey_ = std::string(control->key);
  }
  return !dx.failed();
}

int OptionsDialog::DoModal() {
  DialogToolkit* toolkit = CurrentDialogToolkit();
  return toolkit ? toolkit->RunOptions(*this) : IDCANCEL;
}

void OptionsDialog::StoreSettings(ExportSettings& s) const {
  s.samplerate = static_cast<int32_t>(samplerate_);
  s.exporthidden = exporthidden_ != 0;
  s.ignorespecial = ignorespecial_ != 0;
  s.exportlights = exportlights_ != 0;
  s.exportnodeattributes = exportnodeattributes_ != 0;
  s.optimize = optimize_ != 0;
  s.scale = scale_;
  s.threshold = static_cast<int32_t>(threshold_);
  s.outputlog = outputlog_ != 0;
  s.displaylog = displaylog_ != 0;
  s.removescaling = removescaling_ != 0;
  s.exportanims = exportanims_ != 0;
  s.exportmorph = exportmorph_ != 0;
  s.enableadaptivesampling = enableadaptivesampling_ != 0;
  s.postolerance = postolerance_;
  s.rottolerance = rottolerance_;
  s.scaletolerance = scaletolerance_;
}

}  // namespace kvl
