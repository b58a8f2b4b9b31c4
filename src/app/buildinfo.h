#pragma once

#include <QString>

/// What the build fixed: the product's names and numbers, set in the top CMakeLists.txt.
namespace BuildInfo {

/// "Quillmere".
[[nodiscard]] QString productName();
/// The program's version, for example "26.3.0".
[[nodiscard]] QString productVersion();
/// The author's name with blanks between its words.
[[nodiscard]] QString authorName();
[[nodiscard]] QString authorMail();
[[nodiscard]] QString websiteUrl();
/// The catalogue server's base URL in the default configuration: https, ending in "/".
[[nodiscard]] QString defaultBaseUrl();
/// The day of the build as the compiler writes it, for example "Sep 21 2026".
[[nodiscard]] QString buildDate();
/// The Qt version that the program was built against, for example "6.9.0".
[[nodiscard]] QString qtVersion();

} // namespace BuildInfo
