#include "companion/archive/bundlerules.h"

#include "companion/report/texttable.h"

#include <QHash>
#include <QXmlStreamReader>

using namespace Qt::Literals::StringLiterals;

namespace {

using Findings = QList<Finding>;

bool isBundle(const QString& name)
{
    return hasInstallerEnding(name) || name.endsWith(".framework"_L1, Qt::CaseInsensitive) ||
           name.endsWith(".bundle"_L1, Qt::CaseInsensitive) ||
           name.endsWith(".plugin"_L1, Qt::CaseInsensitive);
}

/// The outermost bundle that the item at @p path lies in; empty when it lies in none.
QString outerBundle(const QString& path)
{
    for (qsizetype end = path.indexOf(u'/'); end >= 0; end = path.indexOf(u'/', end + 1)) {
        const QString folder = path.first(end);
        if (isBundle(folder)) {
            return folder;
        }
    }
    return {};
}

/// The text behind "CFBundleExecutable" in a property list that is XML; empty when there is none.
QString executableName(const QByteArray& propertyList)
{
    QXmlStreamReader xml(propertyList);
    bool isNext = false;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement) {
            continue;
        }
        if (xml.name() == "key"_L1) {
            isNext = xml.readElementText() == "CFBundleExecutable"_L1;
        } else if (isNext) {
            return xml.name() == "string"_L1 ? xml.readElementText() : QString();
        }
    }
    return {};
}

/// Whether any file right below @p folder, which ends in "/", may be executed.
bool hasExecutable(const ArchiveContent& archive, const QString& folder)
{
    const auto& nodes = archive.nodes();
    for (auto node = nodes.lowerBound(folder); node != nodes.cend(); ++node) {
        if (!node.key().startsWith(folder)) {
            break;
        }
        if (!QStringView(node.key()).sliced(folder.size()).contains(u'/') &&
            archive.isExecutable(node.key())) {
            return true;
        }
    }
    return false;
}

/// Why the application at @p path cannot be started; empty when nothing is known against it.
QString startProblem(const ArchiveContent& archive, const QString& path)
{
    const QString shown = quoted(path);
    const QString contents = path + "/Contents/"_L1;
    if (archive.nodes().contains(path + "/Wrapper"_L1)) {
        return {}; // an application for iPhones, which has another layout
    }
    if (!archive.nodes().contains(contents + "Info.plist"_L1)) {
        return u"%1 has no Info.plist"_s.arg(shown);
    }
    const QByteArray list = archive.content(contents + "Info.plist"_L1);
    const QString folder = contents + "MacOS/"_L1;
    if (list.startsWith("bplist")) {
        return hasExecutable(archive, folder) ? QString()
                                              : u"%1 has no file that can be executed"_s.arg(shown);
    }
    QString name = executableName(list);
    if (name.isEmpty()) {
        name = path.section(u'/', -1).chopped(4); // what the system takes then
    }
    if (!archive.isThere(folder + name)) {
        return u"%1 lacks its executable %2"_s.arg(shown, quoted(name));
    }
    return archive.isLink(folder + name) || archive.isExecutable(folder + name)
               ? QString()
               : u"the executable %2 of %1 lacks the execute bit"_s.arg(shown, quoted(name));
}

/// A framework below @p bundle whose current version is no link; empty when there is none.
QString copiedFramework(const ArchiveContent& archive, const QString& bundle)
{
    const QString start = bundle + u'/';
    const auto& nodes = archive.nodes();
    for (auto node = nodes.lowerBound(start); node != nodes.cend(); ++node) {
        if (!node.key().startsWith(start)) {
            break;
        }
        if (node.key().endsWith(".framework/Versions/Current"_L1) && !archive.isLink(node.key())) {
            return node.key().chopped(QLatin1StringView("/Versions/Current").size());
        }
    }
    return {};
}

} // namespace

QList<Finding> openedItemFindings(const ArchiveContent& archive, const QString& path)
{
    Findings findings;
    if (const QString outer = outerBundle(path); !outer.isEmpty()) {
        findings.append({u"archive-inside"_s, u"%1, which would be opened, lies inside %2"_s.arg(
                                                  quoted(path), quoted(outer))});
    }
    if (!path.endsWith(".app"_L1, Qt::CaseInsensitive)) {
        return findings;
    }
    findings.append({u"archive-application"_s, u"%1 is an application"_s.arg(quoted(path))});
    const auto node = archive.nodes().constFind(path);
    if (node == archive.nodes().cend() || node->kind == UnpackedTree::Link) {
        return findings; // a link is told by a rule of its own
    }
    if (const QString problem = startProblem(archive, path); !problem.isEmpty()) {
        findings.append({u"bundle-start"_s, problem});
    }
    if (const QString framework = copiedFramework(archive, path); !framework.isEmpty()) {
        findings.append(
            {u"bundle-links"_s, u"\"Versions/Current\" of %1 is no link"_s.arg(quoted(framework))});
    }
    return findings;
}

QList<Finding> letterCaseFindings(const ArchiveContent& archive)
{
    Findings findings;
    QHash<QString, QString> spellings;
    const auto& nodes = archive.nodes();
    for (auto node = nodes.cbegin(); node != nodes.cend(); ++node) {
        const QString folded = node.key().normalized(QString::NormalizationForm_D).toCaseFolded();
        const QString former = spellings.value(folded);
        if (former.isEmpty()) {
            spellings.insert(folded, node.key());
            continue;
        }
        // Two folders become one, which harms where they are bundles.
        const bool areFolders =
            node->kind == UnpackedTree::Folder && nodes.value(former).kind == UnpackedTree::Folder;
        if (!areFolders || isBundle(node.key())) {
            findings.append(
                {u"archive-case"_s, u"%1 and %2 differ in their letters' case alone"_s.arg(
                                        quoted(former), quoted(node.key()))});
        }
    }
    return findings;
}
