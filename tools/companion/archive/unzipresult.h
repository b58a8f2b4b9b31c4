#pragma once

#include <QString>

/// What unzip means by ending with @p exitCode, as a clause: "the file is no ZIP archive".
[[nodiscard]] QString unzipMeaning(int exitCode);
