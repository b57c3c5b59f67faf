// The controls for assistive technology: roles, names, and which part of a text is new. Pure functions on the models.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "controls/control.h"

namespace tsly {

enum class Role { kDecoration, kGroup, kText, kLink, kButton, kEdit, kScrollBar };

Role RoleOf(ControlKind kind, const ControlLook& look);

// The names of `controls`, in their order. Controls without a text get the name of a label: a panel that of its first
// label, other controls that of the label before them, or else their panel's name. `caption`: of the window.
std::vector<std::string> AccessibleNames(const std::string& caption, const std::vector<const Control*>& controls);

// The difference between two texts of a text box: only new text is announced.
struct TextChange {
  std::size_t kept = 0;      // bytes at the beginning of both; no character or line end is divided
  bool is_announced = true;  // dots that grow at the end of a line say nothing
  bool operator==(const TextChange&) const = default;
};
TextChange ChangeOf(const std::string& before, const std::string& after);

}  // namespace tsly
