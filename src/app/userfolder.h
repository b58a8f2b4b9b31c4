#pragma once

#include <QString>

/// The folder of the settings and the log: home + "/Library/Quillmere/".
/// HOME is read at each call; the folder may not exist.
[[nodiscard]] QString userFolder();
