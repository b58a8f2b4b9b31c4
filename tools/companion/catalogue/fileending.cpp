#include "companion/catalogue/fileending.h"

#include <QSet>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

const QSet<QString>& openedEndings()
{
    static const QSet<QString> endings = {
        // What the client unpacks, and disk images and packages
        u"zip"_s, u"dmg"_s, u"pkg"_s, u"mpkg"_s, u"iso"_s, u"cdr"_s, u"sparseimage"_s,
        // Other archives, which the system unpacks
        u"tar"_s, u"gz"_s, u"tgz"_s, u"bz2"_s, u"tbz"_s, u"tbz2"_s, u"xz"_s, u"txz"_s, u"cpio"_s,
        u"xip"_s,
        // What needs no installing
        u"pdf"_s, u"html"_s, u"htm"_s, u"txt"_s, u"rtf"_s, u"webloc"_s, u"mobileconfig"_s, u"ttf"_s,
        u"otf"_s, u"ttc"_s, u"command"_s, u"terminal"_s, u"workflow"_s, u"shortcut"_s};
    return endings;
}

const QSet<QString>& foreignEndings()
{
    static const QSet<QString> endings = {
        u"exe"_s, u"msi"_s, u"msix"_s, u"msu"_s, u"appx"_s, u"bat"_s, u"cmd"_s, u"dll"_s, u"cab"_s,
        u"rar"_s, u"deb"_s, u"rpm"_s, u"apk"_s, u"appimage"_s, u"snap"_s, u"flatpak"_s,
        // Bundles are folders, and no server gives out a folder as one file.
        u"app"_s};
    return endings;
}

} // namespace

FileEnding fileEnding(const QString& name)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    const QString ending = dot > 0 ? name.sliced(dot + 1).toLower() : QString();
    const bool hasLetter =
        std::any_of(ending.cbegin(), ending.cend(), [](QChar c) { return c >= u'a' && c <= u'z'; });
    if (!hasLetter || foreignEndings().contains(ending)) {
        return FileEnding::Foreign; // "Synth-2.5" has a version's number there
    }
    return openedEndings().contains(ending) ? FileEnding::Opened : FileEnding::Unknown;
}
