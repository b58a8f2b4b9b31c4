#pragma once

#include <QList>
#include <QString>

/// An item of an unpacked archive that could be opened to install its application.
struct InstallerCandidate
{
    QString path;  ///< full
    QString name;  ///< its last component
    int score = 0; ///< see installerScore()
};

/// How well an item named @p name fits the processor @p architecture ("arm64" or "x86_64"):
/// 2 names only this processor, 1 both, 0 neither, -1 only the other.
[[nodiscard]] int installerScore(const QString& name, const QString& architecture);

/// Whether an item named @p name is never opened: an uninstaller.
[[nodiscard]] bool isExcludedInstaller(const QString& name);

/// Whether a name ends as an application's, a package's or a disk image's, in whatever letter case.
[[nodiscard]] bool hasInstallerEnding(const QString& name);

/// Orders @p candidates, which lie below @p folder, best first.
///
/// Of equal scores the item that lies least deep comes first, then one outside the "__MACOSX"
/// folder that the Finder puts into its archives, then the first by name.
void sortInstallers(QList<InstallerCandidate>& candidates, const QString& folder);

/// The applications, packages and disk images below @p folder that may be opened, best first. Links
/// are not followed, hidden items not listed; items inside a bundle count too.
[[nodiscard]] QList<InstallerCandidate> installerCandidates(const QString& folder,
                                                            const QString& architecture);
