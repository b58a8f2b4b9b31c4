#include "companion/fleet/forecastpage.h"

#include "companion/fleet/forecastremarks.h"
#include "companion/fleet/forecastreport.h"
#include "companion/fleet/forecastwords.h"
#include "companion/report/htmltext.h"

#include <QFile>
#include <QTextStream>
#include <QXmlStreamReader>

#include <algorithm>
#include <array>
#include <numeric>

using namespace Qt::Literals::StringLiterals;

namespace {

/// How the page tells what a row shows.
struct StateStyle
{
    RowState state;
    QLatin1StringView name;
    QLatin1StringView setting; ///< the client's colour for it; empty where it has none
    QLatin1StringView color;   ///< the page's own where the client has none
};

constexpr std::array stateStyles = {
    StateStyle{RowState::Older, "older"_L1, "down"_L1, {}},
    StateStyle{RowState::Equal, "equal"_L1, "equal"_L1, {}},
    StateStyle{RowState::Newer, "newer"_L1, "up"_L1, {}},
    StateStyle{RowState::NotInstalled, "missing"_L1, "base"_L1, {}},
    StateStyle{RowState::Unknown, "unknown"_L1, {}, "#fff3b0"_L1},
    StateStyle{RowState::Absent, "absent"_L1, {}, "#ffffff"_L1},
};

/// The colour that the client is delivered with under the name of @p setting.
QString clientColor(QLatin1StringView setting)
{
    QFile file(u":/resources/default-config.xml"_s);
    if (file.open(QIODevice::ReadOnly)) {
        QXmlStreamReader xml(&file);
        while (!xml.atEnd()) {
            if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == setting) {
                return xml.readElementText();
            }
        }
    }
    return {};
}

/// What does not depend on the forecast. Colours of text are the page's own; what stands on one of
/// the client's colours is black, as in the client.
const QLatin1StringView fixedStyle =
    ":root { color-scheme: light dark; --text: #1b1b1b; --back: #ffffff; --line: #6b6b6b; }\n"
    "@media (prefers-color-scheme: dark) {\n"
    "  :root { --text: #ececec; --back: #1b1b1b; --line: #9a9a9a; }\n"
    "}\n"
    "@media print {\n"
    "  :root { color-scheme: light; --text: #000000; --back: #ffffff; --line: #6b6b6b; }\n"
    "}\n"
    "body { margin: 0 auto; max-width: 75rem; padding: 1rem; background: var(--back);\n"
    "  color: var(--text); font: 1rem/1.4 system-ui, sans-serif; }\n"
    "table { border-collapse: collapse; table-layout: fixed; width: 100%; }\n"
    "caption { padding: 0 0 0.5rem; text-align: start; }\n"
    "th, td { border: 1px solid var(--line); padding: 0.4rem; text-align: start;\n"
    "  vertical-align: top; overflow-wrap: anywhere; }\n"
    "thead { display: table-header-group; }\n"
    "thead th { width: 26%; }\n"
    "thead th:nth-child(1) { width: 21%; }\n"
    "thead th:nth-child(2) { width: 16%; }\n"
    "thead th:nth-child(3) { width: 11%; }\n"
    "tr { break-inside: avoid; }\n"
    ".number { text-align: end; }\n"
    ".shown { color: #000000; print-color-adjust: exact; -webkit-print-color-adjust: exact; }\n"
    "svg { display: block; width: 100%; height: 1rem; margin: 0 0 0.3rem; }\n"
    "rect { stroke: #6b6b6b; stroke-width: 1px; vector-effect: non-scaling-stroke; }\n"
    ".legend { display: flex; flex-wrap: wrap; gap: 0.3rem 1.5rem; padding: 0; list-style: none; "
    "}\n"
    ".legend svg { display: inline-block; width: 2rem; margin: 0; vertical-align: middle; }\n"_L1;

void writeStyle(QTextStream& out)
{
    out << "<style>\n" << fixedStyle;
    for (const StateStyle& style : stateStyles) {
        const QString color =
            style.setting.isEmpty() ? QString(style.color) : clientColor(style.setting);
        out << '.' << style.name << " { background: " << color << "; fill: " << color << "; }\n";
    }
    out << "</style>\n";
}

void writeLegend(QTextStream& out)
{
    out << "<ul class=\"legend\">\n";
    for (const StateStyle& style : stateStyles) {
        out << "<li><svg viewBox=\"0 0 1 1\" preserveAspectRatio=\"none\" aria-hidden=\"true\">"
               "<rect class=\""
            << style.name << "\" width=\"1\" height=\"1\"/></svg> "
            << htmlText(rowStateText(style.state)) << "</li>\n";
    }
    out << "</ul>\n";
}

using Counts = std::array<quint64, stateStyles.size()>; ///< of machines, by stateStyles

/// The machines as a bar of their shares, and in words for those who cannot see it.
void writeVerdicts(const Counts& counts, QTextStream& out)
{
    const quint64 all = std::accumulate(counts.cbegin(), counts.cend(), quint64(0));
    out << "<td><svg viewBox=\"0 0 " << all
        << " 1\" preserveAspectRatio=\"none\" aria-hidden=\"true\">";
    QStringList words;
    quint64 left = 0;
    for (size_t i = 0; i < counts.size(); ++i) {
        if (counts[i] > 0) {
            out << "<rect class=\"" << stateStyles[i].name << "\" x=\"" << left << "\" width=\""
                << counts[i] << "\" height=\"1\"/>";
            words.append(grouped(counts[i]) + u' ' + rowStateText(stateStyles[i].state));
            left += counts[i];
        }
    }
    out << "</svg>" << htmlText(words.join(", "_L1)) << "</td>\n";
}

QString versionText(const EntryChange& entry)
{
    if (!entry.before || !entry.after) {
        return entry.after ? u"new: "_s + entry.after->version
                           : u"goes: "_s + entry.before->version;
    }
    return entry.before->version == entry.after->version
               ? entry.after->version
               : entry.before->version + u" → "_s + entry.after->version;
}

/// One entry's row; its first cells have the colour that they have in most windows.
void writeRow(const EntryChange& entry, const EntryTally& tally, QTextStream& out)
{
    Counts before;
    Counts after;
    for (size_t i = 0; i < stateStyles.size(); ++i) {
        before[i] = tally.before(stateStyles[i].state);
        after[i] = tally.after(stateStyles[i].state);
    }
    const auto most = std::max_element(after.cbegin(), after.cend()) - after.cbegin();
    const QLatin1StringView color = stateStyles[size_t(most)].name;
    out << "<tr>\n<th scope=\"row\" class=\"shown " << color << "\">" << htmlText(entry.name)
        << "</th>\n<td class=\"shown " << color << "\">" << htmlText(versionText(entry))
        << "</td>\n<td class=\"number\">" << grouped(tally.touched) << "</td>\n";
    writeVerdicts(before, out);
    writeVerdicts(after, out);
    out << "</tr>\n";
}

void writeRows(const FleetForecast& forecast, QTextStream& out)
{
    const QList<EntryTally>& tallies = forecast.tally.entries;
    QList<qsizetype> order(tallies.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&tallies](qsizetype a, qsizetype b) {
        return tallies[a].touched > tallies[b].touched;
    });
    out << "<table>\n<caption>Entries that touch most machines come first. An entry has the colour "
           "that it will have in most windows.</caption>\n"
           "<thead>\n<tr><th scope=\"col\">Entry</th><th scope=\"col\">Version</th>"
           "<th scope=\"col\">Machines touched</th><th scope=\"col\">Before</th>"
           "<th scope=\"col\">After</th></tr>\n</thead>\n<tbody>\n";
    for (const qsizetype i : std::as_const(order)) {
        writeRow(forecast.entries[i], tallies[i], out);
    }
    out << "</tbody>\n</table>\n";
}

void writeRemarks(const QStringList& remarks, QTextStream& out)
{
    if (remarks.isEmpty()) {
        return;
    }
    out << "<h2>What follows</h2>\n<ul>\n";
    for (const QString& remark : remarks) {
        out << "<li>" << htmlText(remark) << "</li>\n";
    }
    out << "</ul>\n";
}

} // namespace

void writeForecastPage(const FleetForecast& forecast, QTextStream& out)
{
    const QString title = "Forecast for "_L1 + machinesText(forecast.tally.machines);
    out << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\"/>\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n<title>"
        << htmlText(title) << "</title>\n";
    writeStyle(out);
    out << "</head>\n<body>\n<main>\n<h1>" << htmlText(title) << "</h1>\n<p>"
        << htmlText(forecastHeadline(forecast)) << "</p>\n";
    if (!forecast.entries.isEmpty()) {
        writeLegend(out);
        writeRows(forecast, out);
    }
    writeRemarks(forecastRemarks(forecast), out);
    out << "</main>\n</body>\n</html>\n";
}
