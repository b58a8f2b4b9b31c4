#pragma once

#include <QtGlobal>

/// What is read of one installer at most. Whatever goes beyond is not known.
namespace InstallerLimits {

constexpr qint64 members = 2'000'000;            ///< files, folders and links
constexpr qint64 unpackedBytes = 34'359'738'368; ///< of one payload or item: 32 GiB
constexpr qint64 textBytes = 4'194'304;          ///< of a property list or a package's description
constexpr int depth = 3;                         ///< of installers in one another
constexpr int seconds = 300;                     ///< that reading one file takes
constexpr int processorSeconds = 120;            ///< the same, of a processor's time
constexpr qint64 memory = 1'073'741'824;         ///< bytes of each process that reads
constexpr qint64 fileBytes = 8'589'934'592;      ///< of each file in the temporary folder

} // namespace InstallerLimits
