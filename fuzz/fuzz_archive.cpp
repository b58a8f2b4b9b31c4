// The reader of archives, over what random items make and over random bytes. A second reading says
// the same; nothing is said that is not one line, or that has an unseen character; and where the
// archive's directory leaves no doubt, the client chooses the same from the very items on a disk.

#include "fuzzing.h"

#include "companion/archive/archiverules.h"
#include "companion/report/texttable.h"
#include "support/zipmaker.h"

#include <QDir>
#include <QTextStream>

#include <algorithm>
#include <array>

#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray itemName(FuzzedDataProvider& input)
{
    static const std::array<QByteArray, 24> parts{
        ".app",      ".pkg", ".mpkg", ".dmg", ".APP",     "arm",  "x86_64",   "amd64",
        "Contents",  "a",    "b",     "/",    "/",        "/",    "..",       ".",
        "Uninstall", " ",    ";1",    "\x01", "\xc3\xa9", "\xc9", "__MACOSX", "\\"};
    QByteArray name;
    for (auto left = input.ConsumeIntegralInRange<int>(1, 6); left > 0; --left) {
        name += input.PickValueInArray(parts);
    }
    return name;
}

QByteArray archiveOfItems(FuzzedDataProvider& input)
{
    ZipMaker archive;
    for (auto left = input.ConsumeIntegralInRange<int>(1, 8); left > 0; --left) {
        const QByteArray name = itemName(input);
        if (input.ConsumeProbability<float>() < 0.1F) {
            archive.addLink(name, itemName(input));
        } else {
            archive.add({.name = name,
                         .content = "x",
                         .mode = name.endsWith('/') ? 0040755U : 0100644U,
                         .system = input.PickValueInArray(
                             {ZipMaker::Unix, ZipMaker::Unix, ZipMaker::Darwin, ZipMaker::Dos}),
                         .isEncrypted = input.ConsumeProbability<float>() < 0.02F,
                         .isUtf8 = input.ConsumeBool()});
        }
    }
    QByteArray bytes = archive.bytes();
    while (input.remaining_bytes() > 2 && input.ConsumeProbability<float>() < 0.3F) {
        bytes[input.ConsumeIntegralInRange<qsizetype>(0, bytes.size() - 1)] =
            input.ConsumeIntegral<char>();
    }
    return bytes;
}

/// All that is said of the archive.
QString saidOf(const ArchiveContent& archive)
{
    QString said = archive.error() + u'\n' + archive.excluded().join(u'\n');
    for (const QString& processor : processors()) {
        for (const InstallerCandidate& candidate : archive.candidates(processor)) {
            said += u'\n' + candidate.path + u' ' + QString::number(candidate.score);
        }
    }
    QString text;
    QTextStream out(&text);
    const QList<Finding> findings = archiveFindings(archive) + archive.damages();
    writeFindings(findings, out);
    out.flush();
    requireEqual("each finding is one line", text.count(u'\n'), findings.size());
    for (const QString& line : text.split(u'\n')) {
        requireEqual("nothing is written that is not seen", line, printable(line));
    }
    return said + text + archive.linksThatLeadOut().join(u'\n');
}

/// Whether unzip makes just what the archive's directory says, and each item is a file or a folder.
bool isPlain(const ArchiveContent& archive)
{
    const auto& nodes = archive.nodes();
    return archive.error().isEmpty() && archive.failures().isEmpty() &&
           archive.headFindings().isEmpty() &&
           std::none_of(nodes.cbegin(), nodes.cend(), [](const UnpackedTree::Node& node) {
               return node.kind == UnpackedTree::Link;
           });
}

void requireChoice(const ArchiveContent& archive)
{
    static const QString top = privateFolder() + "unpacked/"_L1;
    require("a folder can be made", QDir().mkpath(top));
    const auto& nodes = archive.nodes(); // each folder before what lies in it
    for (auto node = nodes.cbegin(); node != nodes.cend(); ++node) {
        const QByteArray path = (top + node.key()).toUtf8();
        require("an item can be made", node->kind == UnpackedTree::Folder
                                           ? ::mkdir(path, 0700) == 0
                                           : ::mknod(path, S_IFREG | 0600, 0) == 0);
    }
    for (const QString& processor : processors()) {
        QStringList expected;
        for (const InstallerCandidate& candidate : installerCandidates(top.chopped(1), processor)) {
            expected.append(candidate.path.sliced(top.size()));
        }
        QStringList told;
        for (const InstallerCandidate& candidate : archive.candidates(processor)) {
            told.append(candidate.path);
        }
        requireEqual("the client chooses the same", told, expected);
    }
    require("the folder can be removed", QDir(top).removeRecursively());
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the name that libFuzzer calls
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const QString path = privateFolder() + "archive.zip"_L1;
    FuzzedDataProvider input(data, size);
    writeFile(path, input.ConsumeBool() ? archiveOfItems(input) : rest(input));
    const ArchiveContent archive(path);
    requireEqual("a second reading says the same", saidOf(ArchiveContent(path)), saidOf(archive));
    if (isPlain(archive)) {
        requireChoice(archive);
    }
    return 0;
}
