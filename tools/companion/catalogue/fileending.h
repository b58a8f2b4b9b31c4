#pragma once

#include <QString>

/// What a Mac does with a file of some ending, without further applications.
enum class FileEnding
{
    Opened,
    Unknown, ///< opened where somebody has installed what opens it
    Foreign  ///< never opened: another system's, or no ending at all
};

/// What the ending of the file name @p name means.
[[nodiscard]] FileEnding fileEnding(const QString& name);
