#pragma once

#include "companion/installer/installerfacts.h"

#include <functional>

class QTextStream;

/// Reads installers, each in a process of its own, which has limits of memory, time and files (see
/// limits.h) and one temporary folder, which is gone afterwards. So a file that is made to harm its
/// reader costs no more than what is known of that file.
class InstallerReader
{
public:
    /// Every reader reads from now on by running @p program, which is the companion; to be called
    /// before other threads read. Until then they read in this process, without such limits: as
    /// fits a program that reads its own files.
    static void useProgram(const QString& program);

    /// What the installer at @p path would put into /Applications. Takes as long as the limits let
    /// it, or until @p goesOn, which is asked now and then, says no. May be called by several
    /// threads at a time.
    [[nodiscard]] static InstallerFacts read(
        const QString& path, const std::function<bool()>& goesOn = [] { return true; });
};

/// Whether @p arguments are those by which the companion runs itself to read an installer.
[[nodiscard]] bool isInstallerReading(const QStringList& arguments);
/// Does so: the facts go to @p out. Returns what the process ends with.
int runInstallerReading(const QStringList& arguments, QTextStream& out);
