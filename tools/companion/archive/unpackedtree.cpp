#include "companion/archive/unpackedtree.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype longestName = 255;   // bytes
constexpr qsizetype longestPath = 4'000; // bytes, with room for the folder that is unpacked into

/// unzip leaves control characters out, and a final ";" with digits, which is a version on VMS.
QString plainName(const QString& name)
{
    QString plain = name;
    plain.removeIf([](QChar c) { return c.unicode() < 0x20 || c.unicode() == 0x7f; });
    const qsizetype semicolon = plain.lastIndexOf(u';');
    if (semicolon > plain.lastIndexOf(u'/') &&
        std::all_of(plain.cbegin() + semicolon + 1, plain.cend(),
                    [](QChar c) { return c >= u'0' && c <= u'9'; })) {
        plain.truncate(semicolon);
    }
    return plain;
}

} // namespace

UnpackedTree::Outcome UnpackedTree::add(const QString& name, Kind kind, quint64 item)
{
    if (name.toUtf8().size() > longestPath) {
        return NotCreated;
    }
    const QString plain = plainName(name);
    const QStringList given = plain.split(u'/', Qt::SkipEmptyParts);
    QStringList steps = given;
    steps.removeAll(u"."_s);
    const bool isFolder = plain.endsWith(u'/');
    const bool isRenamed = plain.startsWith(u'/') || steps.removeAll(u".."_s) > 0;
    const bool isTooLong = std::any_of(steps.cbegin(), steps.cend(), [](const QString& step) {
        return step.toUtf8().size() > longestName;
    });
    if (given.isEmpty() || isTooLong) {
        return NotCreated;
    }
    if (steps.isEmpty()) {
        return isFolder && !isRenamed ? Unpacked : NotCreated;
    }
    if (!isFolder && steps.constLast() != given.constLast()) {
        return NotCreated; // a file named "." or ".."
    }
    const QString path = steps.join(u'/');
    if (!addParents(steps)) {
        return NotCreated;
    }
    if (isFolder) {
        if (!addFolder(path, item)) {
            return NotCreated;
        }
    } else {
        const auto former = m_nodes.constFind(path);
        if (former != m_nodes.cend() && former->kind == Folder) {
            return NotCreated;
        }
        m_nodes.insert(path, {kind, item});
        m_pathsLength += path.size();
    }
    return isRenamed ? Renamed : Unpacked;
}

bool UnpackedTree::addFolder(const QString& path, quint64 item)
{
    if (const auto former = m_nodes.constFind(path); former != m_nodes.cend()) {
        return former->kind == Folder;
    }
    m_nodes.insert(path, {Folder, item});
    m_pathsLength += path.size();
    return true;
}

bool UnpackedTree::addParents(const QStringList& steps)
{
    QString path;
    for (const QString& step : steps.first(steps.size() - 1)) {
        path += path.isEmpty() ? step : u'/' + step;
        if (!addFolder(path, 0)) {
            return false;
        }
    }
    return true;
}
