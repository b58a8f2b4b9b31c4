#pragma once

#include <QStringList>

#include <functional>

/// The installed application that a catalogue entry stands for.
struct ApplicationMatch
{
    QString name;             ///< empty when there is none
    QString version;          ///< "0" when none of several candidates took part in the choice
    QStringList descriptions; ///< each candidate as "'name' vVersion", where there are several
};

/// Reads the installed version of an application.
using InstalledVersion = std::function<QString(const QString& name)>;

/// Whether @p suffix, what an installed application's name has beyond the catalogue's, leaves it
/// the same product: only digits, dots and blanks, or nothing.
[[nodiscard]] bool isVersionSuffix(const QString& suffix);

/// Whether the installed @p candidate, whose name starts with the catalogue's @p name, has only a
/// version's suffix beyond it.
[[nodiscard]] bool isVersionOf(const QString& name, const QString& candidate);

/// Chooses for the catalogue's @p name among @p candidates, the installed names that start with it,
/// ascending. A single candidate is taken as it is. Of several, the newest whose suffix is one of a
/// version, of equal versions the later; the first where no suffix is.
[[nodiscard]] ApplicationMatch matchApplication(const QString& name, const QStringList& candidates,
                                                const InstalledVersion& installedVersion);
