#pragma once

namespace mirel {

/// The colours of the window.
enum class Theme { kSystem, kLight, kDark };

/// What the user chose last.
Theme GetTheme();
/// Uses and remembers it.
void SetTheme(Theme theme);
/// Uses what was chosen last; once, when the program begins.
void ApplyTheme();

/// Whether the window is dark now, whoever made it so.
bool IsDark();

}  // namespace mirel
