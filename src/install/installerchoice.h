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

/// What installerScore() says by @p score, as a clause: "names both processors".
[[nodiscard]] QString scoreMeaning(int score);

/// Whether an item named @p name is never opened: an uninstaller.
[[nodiscard]] bool isExcludedInstaller(const QString& name);

/// Whether an item at @p path below its archive's folder lies in the "__MACOSX" folder that the
/// Finder puts there.
[[nodiscard]] bool isShadowItem(const QString& path);

/// Whether a name ends as an application's, a package's or a disk image's, in whatever letter case.
[[nodiscard]] bool hasInstallerEnding(const QString& name);

/// Orders @p candidates, which lie below @p folder, best first.
///
/// Of equal scores the item that lies least deep comes first, then one that is no shadow item,
/// then the first by name: by the name without its installer's ending, then by all of it.
void sortInstallers(QList<InstallerCandidate>& candidates, const QString& folder);

/// Why, of two items of equal score, the one at @p better comes before the one at @p worse, in
/// words in which "%1" stands for the latter. Both paths are those below the archive's folder.
[[nodiscard]] QString tieReason(const QString& better, const QString& worse);

/// The applications, packages and disk images below @p folder that may be opened, best first. Links
/// are not followed, hidden items not listed; items inside a bundle count too.
[[nodiscard]] QList<InstallerCandidate> installerCandidates(const QString& folder,
                                                            const QString& architecture);
