// The keys of the program's own settings.
#pragma once

namespace vestigo::preference {

/// Boolean: the first-run disclaimer was accepted. The previous product used the same name.
inline constexpr char acceptedDisclaimer[] = "TM_acceptedDisclaimer";
/// Integer: points added to the text size of table and status bar (0, 4 or 8).
inline constexpr char fontDelta[] = "TM_fontDelta";
/// Boolean: what the previous product left has been taken over.
inline constexpr char migratedFromTracemole[] = "Vestigo_migratedFromTracemole";

}  // namespace vestigo::preference
