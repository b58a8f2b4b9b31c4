#include "companion/installer/installertext.h"

#include "companion/report/texttable.h"

#include <QTextStream>

using namespace Qt::Literals::StringLiterals;

namespace {

QString shownOrUnknown(const QString& value, const QString& unknown)
{
    if (!unknown.isEmpty()) {
        return u"unknown, as %1"_s.arg(printable(unknown));
    }
    return value.isEmpty() ? u"none"_s : printable(value);
}

void writeBundle(const BundleFacts& bundle, QTextStream& out)
{
    const auto line = [&out](const QString& what, const QString& value, const QString& unknown) {
        out << "      " << what << ": " << shownOrUnknown(value, unknown) << '\n';
    };
    out << "    " << quoted(bundle.location) << ", for the client " << quoted(bundle.name) << '\n';
    line(u"version"_s, bundle.version.value, bundle.version.unknown);
    line(u"identifier"_s, bundle.identifier.value, bundle.identifier.unknown);
    line(u"processors"_s, bundle.processors.value.join(' '_L1), bundle.processors.unknown);
    line(u"minimum system"_s, bundle.minimumSystem.value, bundle.minimumSystem.unknown);
    line(u"newest file"_s, bundle.newestFile.value.toString(Qt::ISODate),
         bundle.newestFile.unknown);
    for (const QString& fault : bundle.faults) {
        out << "      fault: " << printable(fault) << '\n';
    }
}

void writeItem(const InstallerItem& item, QTextStream& out)
{
    out << "  brings on " << item.openedOn.join(" and "_L1);
    if (!item.path.isEmpty()) {
        out << ", by " << quoted(item.path);
    }
    if (!item.unknown.isEmpty()) {
        out << ": unknown, as " << printable(item.unknown) << '\n';
    } else {
        out << (item.bundles.isEmpty() ? ": nothing in /Applications\n" : ":\n");
    }
    for (const BundleFacts& bundle : item.bundles) {
        writeBundle(bundle, out);
    }
    for (const QString& note : item.notes) {
        out << "    note: " << printable(note) << '\n';
    }
}

} // namespace

void writeInstaller(const InstallerFacts& facts, QTextStream& out)
{
    if (!facts.unknown.isEmpty()) {
        out << "  brings: unknown, as " << printable(facts.unknown) << '\n';
    }
    for (const InstallerItem& item : facts.items) {
        writeItem(item, out);
    }
}
