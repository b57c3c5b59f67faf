// The control AvailableUpdate: one update in the list, and the only store of its data. Its height depends on its texts:
// it updates its layout whenever a text, its width or the visibility of its bottom line changes. Owner: the dialog's
// control array UpdateItem. All measures in twips.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "controls/control.h"

namespace tsly {

class AvailableUpdate : public Control {
 public:
  AvailableUpdate(Form& form, Control* parent, std::string name, int index);

  void Reset(const ControlLook& design) override;
  bool IsComposed() const override { return true; }

  // The data of the update. None of it affects the display.
  std::string UpdateElementName;
  std::string UpdateElementDesc;  // address of the "more info" page
  std::string UpdateElementUrl;
  std::string UpdateElementSize;
  std::string UpdateElementCRC;
  std::string UpdateElementVersion;
  std::uint8_t UpdateElementDocType = 0;
  bool UpdateElementStopPgm = false;

  // The action lines, from 1. Setting number 0 empties the list; setting one after the end extends the list. Reading
  // one after the end returns "". A negative number throws error 9.
  void SetUpdateElementAction(std::int32_t number, const std::string& line);
  std::string UpdateElementAction(std::int32_t number) const;

  void SetItem(const std::string& title);
  void SetVersion(const std::string& text);  // needs no new layout: the line's height is fixed
  void SetExplanation(const std::string& text);
  void SetMoreInfo(const std::string& text);
  void SetHideBottomLine(bool hide);
  const std::string& Item() const { return lblItem.Text(); }
  const std::string& Version() const { return lblVersion.Text(); }
  const std::string& Explanation() const { return lblExplanation.Text(); }
  const std::string& MoreInfo() const { return lblMoreInfo.Text(); }
  bool HideBottomLine() const { return hide_bottom_line_; }

  Control Image1;
  Label lblItem;
  Label lblVersion;
  Label lblMoreInfo;
  Label lblExplanation;
  Control linBottom;

 protected:
  void OnResized() override { UserControl_Resize(); }

 private:
  void UserControl_Resize();

  std::vector<std::string> actions_;
  bool hide_bottom_line_ = false;
  bool inside_resize_ = false;
};

}  // namespace tsly
