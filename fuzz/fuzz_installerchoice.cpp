// The choice among unpacked items, over random file trees. The tree that was made says what must be
// found: exactly the items of an installer's ending, at any depth, that are neither hidden nor
// below a hidden folder or a link, lead somewhere and are no uninstaller. They come best first, as
// the pairwise rules tell, and each has the score of its name.

#include "fuzzing.h"

#include "install/installerchoice.h"

#include <QDir>
#include <QMap>

#include <algorithm>
#include <array>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

enum class Kind
{
    File,
    Folder,
    LinkToFile,
    LinkToFolder,
    DanglingLink
};

/// What was made, by path below the tree's top; a folder's items come after it.
using Tree = QMap<QString, Kind>;

QString itemName(FuzzedDataProvider& input)
{
    static const std::array<QString, 32> parts{
        u".app"_s, u".pkg"_s,      u".mpkg"_s,     u".dmg"_s,   u".APP"_s,  u".Pkg"_s,  u"app"_s,
        u"arm"_s,  u"Arm64"_s,     u"x86"_s,       u"X86_64"_s, u"x64"_s,   u"amd64"_s, u"AMD64"_s,
        u"a"_s,    u"Uninstall"_s, u"uninstall"_s, u"UNIN"_s,   u"stall"_s, u"."_s,     u"_"_s,
        u"b"_s,    u"__MACOSX"_s,  u"é"_s,         u" "_s,      u"1"_s,     u"2"_s,     u"Tool"_s,
        u".zip"_s, u"\u017f"_s,    u"*"_s,         u"\n"_s};
    QString name;
    for (auto left = input.ConsumeIntegralInRange<int>(1, 4); left > 0; --left) {
        name += input.PickValueInArray(parts);
    }
    return name == "."_L1 || name == ".."_L1 ? u"dot"_s : name;
}

// By the system's own calls: making the tree would else take longer than looking at it.
void make(const QByteArray& path, Kind kind)
{
    static const QByteArray elsewhere = privateFolder().toLocal8Bit() + "elsewhere";
    switch (kind) {
    case Kind::File:
        require("a file can be made", mknod(path, S_IFREG | 0600, 0) == 0);
        break;
    case Kind::Folder:
        require("a folder can be made", mkdir(path, 0700) == 0);
        break;
    case Kind::LinkToFile:
        require("a link can be made", symlink("/dev/null", path) == 0);
        break;
    case Kind::LinkToFolder:
        require("a link can be made", symlink(elsewhere, path) == 0);
        break;
    case Kind::DanglingLink:
        require("a link can be made", symlink("/no/such/item", path) == 0);
        break;
    }
}

/// Fills the empty folder @p top, which ends in "/".
Tree makeTree(FuzzedDataProvider& input, const QString& top)
{
    static const std::array<Kind, 8> kinds{Kind::File,       Kind::Folder,      Kind::File,
                                           Kind::Folder,     Kind::Folder,      Kind::File,
                                           Kind::LinkToFile, Kind::LinkToFolder};
    Tree tree;
    QStringList folders{QString()};
    while (input.remaining_bytes() > 0 && tree.size() < 8) {
        const auto at = input.ConsumeIntegralInRange<qsizetype>(0, folders.size() - 1);
        const QString path = folders[at] + itemName(input);
        if (tree.contains(path)) {
            continue;
        }
        const Kind kind = input.ConsumeProbability<float>() < 0.05F ? Kind::DanglingLink
                                                                    : input.PickValueInArray(kinds);
        make((top + path).toUtf8(), kind);
        tree[path] = kind;
        if (kind == Kind::Folder) {
            folders.append(path + u'/');
        }
    }
    return tree;
}

void removeTree(const Tree& tree, const QString& top)
{
    // What lies in a folder stands behind it.
    const QStringList paths = tree.keys();
    std::for_each(paths.crbegin(), paths.crend(), [&top, &tree](const QString& path) {
        const QByteArray fullPath = (top + path).toUtf8();
        require("an item can be removed",
                (tree[path] == Kind::Folder ? rmdir(fullPath) : unlink(fullPath)) == 0);
    });
}

bool isToBeFound(const QString& path, Kind kind)
{
    const QString folded = path.toCaseFolded();
    const QString name = folded.mid(folded.lastIndexOf(u'/') + 1);
    const bool isHidden = path.startsWith(u'.') || path.contains("/."_L1);
    const bool isInstaller = name.endsWith(".app"_L1) || name.endsWith(".pkg"_L1) ||
                             name.endsWith(".mpkg"_L1) || name.endsWith(".dmg"_L1);
    return isInstaller && !isHidden && kind != Kind::DanglingLink && !name.contains("uninstall"_L1);
}

int scoreOf(const QString& name, bool onArm)
{
    const QString folded = name.toCaseFolded();
    const bool isArm = folded.contains("arm"_L1);
    const bool isIntel =
        folded.contains("x86"_L1) || folded.contains("x64"_L1) || folded.contains("amd64"_L1);
    const bool fits = onArm ? isArm : isIntel;
    const bool fitsOther = onArm ? isIntel : isArm;
    return (fits ? 2 : 0) - (fitsOther ? 1 : 0);
}

/// For names that end as an installer's does.
QString nameWithoutEnding(const QString& name)
{
    return name.section(u'.', 0, -2);
}

/// The rules in their order; the first one that tells two candidates apart decides.
bool isBetter(const InstallerCandidate& a, const QString& pathOfA, const InstallerCandidate& b,
              const QString& pathOfB)
{
    if (a.score != b.score) {
        return a.score > b.score;
    }
    if (const auto depth = pathOfB.count(u'/'); pathOfA.count(u'/') != depth) {
        return pathOfA.count(u'/') < depth;
    }
    const QString shadow = u"__MACOSX"_s;
    if (const bool isShadow = pathOfB.section(u'/', 0, -2).section(u'/', 0, 0) == shadow;
        (pathOfA.section(u'/', 0, -2).section(u'/', 0, 0) == shadow) != isShadow) {
        return isShadow;
    }
    if (const QString stem = nameWithoutEnding(b.name); nameWithoutEnding(a.name) != stem) {
        return nameWithoutEnding(a.name) < stem;
    }
    return a.name != b.name ? a.name < b.name : pathOfA < pathOfB;
}

void requireChoice(const QString& top, const Tree& tree, bool onArm)
{
    const QList<InstallerCandidate> candidates =
        installerCandidates(top, onArm ? u"arm64"_s : u"x86_64"_s);
    QStringList expected;
    for (auto item = tree.cbegin(); item != tree.cend(); ++item) {
        if (isToBeFound(item.key(), item.value())) {
            expected.append(item.key());
        }
    }
    QStringList found;
    for (qsizetype i = 0; i < candidates.size(); ++i) {
        const InstallerCandidate& candidate = candidates[i];
        require("a candidate lies in the folder", candidate.path.startsWith(top));
        found.append(candidate.path.mid(top.size()));
        requireEqual("a candidate's name is its path's end", candidate.name,
                     candidate.path.section(u'/', -1));
        requireEqual("its score is that of its name", candidate.score,
                     scoreOf(candidate.name, onArm));
        require("candidates come best first",
                i == 0 || isBetter(candidates[i - 1], found[i - 1], candidate, found[i]));
    }
    std::sort(found.begin(), found.end());
    requireEqual("the candidates are the installers of the tree", found, expected);
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the name that libFuzzer calls
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const QString top = privateFolder() + "tree/"_L1;
    if (static bool isPrepared = false; !isPrepared) {
        isPrepared = true;
        // What links lead to; nothing of it may be found.
        require("a folder can be made", QDir().mkpath(privateFolder() + "elsewhere"_L1));
        require("a folder can be made", QDir().mkdir(top));
        writeFile(privateFolder() + "elsewhere/Elsewhere.app"_L1, {});
    }
    FuzzedDataProvider input(data, size);
    const bool onArm = input.ConsumeBool();
    const Tree tree = makeTree(input, top);
    requireChoice(top, tree, onArm);
    removeTree(tree, top);
    return 0;
}
