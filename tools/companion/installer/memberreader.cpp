#include "companion/installer/memberreader.h"

#include "companion/installer/limits.h"

#include <QStringDecoder>

using namespace Qt::Literals::StringLiterals;

QString collectMembers(MemberReader& archive, const MemberPlace& place, BundleCollector& collector)
{
    qint64 bytes = 0;
    for (qint64 count = 1; archive.next(); ++count) {
        bytes += archive.size();
        if (count > InstallerLimits::members || bytes > InstallerLimits::unpackedBytes) {
            return u"it is larger than is read"_s;
        }
        BundleCollector::Entry entry = archive.entry();
        if (entry.leadsOut) {
            return u"a name in it leads out, or is no UTF-8"_s;
        }
        entry.path = entry.path.isEmpty() ? QString() : place(entry.path);
        const qsizetype wanted = collector.add(entry);
        if (wanted > 0) {
            collector.setContent(entry.path, archive.start(wanted));
        }
        if (!collector.limitReached().isEmpty()) {
            return collector.limitReached();
        }
    }
    return archive.error();
}

std::optional<QString> memberPath(const char* bytes)
{
    QStringDecoder decode(QStringDecoder::Utf8);
    const QString path = decode(QByteArrayView(bytes ? bytes : ""));
    QStringList steps = path.split(u'/', Qt::SkipEmptyParts);
    steps.removeAll(u"."_s);
    return decode.hasError() || steps.contains(u".."_s) ? std::nullopt
                                                        : std::optional(steps.join(u'/'));
}
