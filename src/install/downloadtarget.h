#pragma once

#include <QString>

/// The folder that downloads go to, for the setting @p downloadFolder: a leading "~" is the home
/// folder, an empty text the system's download folder. It need not exist.
[[nodiscard]] QString downloadFolderPath(const QString& downloadFolder);

/// Whether a file named @p fileName, which may have folders, lies inside the folder that it is
/// appended to: none of its ".." steps leads out.
[[nodiscard]] bool staysInFolder(const QString& fileName);

/// Whether a file of this name is unpacked before it is opened.
[[nodiscard]] bool isArchive(const QString& fileName);
