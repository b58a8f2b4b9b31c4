#include "companion/fleet/forecast.h"

#include "commandrun.h"
#include "fleetsample.h"
#include "randomcatalogues.h"
#include "shownrows.h"

#include <QFile>
#include <QTest>
#include <QXmlStreamReader>

using namespace Qt::Literals::StringLiterals;

namespace {

/// The texts of the page's elements named @p element, in their order.
QStringList textsOf(const QString& page, const QString& element)
{
    QStringList texts;
    QXmlStreamReader xml(page);
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == element) {
            texts.append(xml.readElementText(QXmlStreamReader::IncludeChildElements));
        }
    }
    return xml.hasError() ? QStringList{xml.errorString()} : texts;
}

} // namespace

/// The page that `forecast --html` writes.
class TestForecastPage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { silenceClientLog(); }
    void init();

    void pageIsWritten();
    void coloursAreTheClients();
    void pageNeedsNothingElse();
    void namesAreNoMarkup();
    void entriesThatTouchMostComeFirst();
    void sumHasAPageToo();
    void fleetWithoutChangesHasNoTable();
    void machineThatIsRefusedIsInNoBar();
    void pageThatCannotBeWrittenIsAnError();

private:
    /// Makes a forecast with a page; returns the page.
    [[nodiscard]] QString page(const QStringList& options = {});

    std::unique_ptr<FleetSample> m_fleet;
    QByteArrayList m_next;
    QByteArrayList m_published;
    QByteArray m_lines;
    CommandRun m_run;
};

void TestForecastPage::init()
{
    m_fleet = std::make_unique<FleetSample>();
    m_published = {"Synth,1.0", "Schist,3", "Gneiss,2"};
    m_next = {"Synth,2.0", "Gneiss,2", "Basaltine,5"};
    m_lines = FleetSample::snapshot(u"anna-mac"_s, {u"Synth 1.0"_s, u"Schist 2"_s}) +
              FleetSample::snapshot(u"bert-mac"_s, {u"Synth 2.5"_s, u"Basaltine 6"_s});
}

QString TestForecastPage::page(const QStringList& options)
{
    const QString place = m_fleet->path() + "/page.html"_L1;
    m_run =
        run(runForecast,
            QStringList{
                u"forecast"_s, m_fleet->write(u"new.csv"_s, FleetSample::catalogue(m_next)),
                u"--published"_s, m_fleet->write(u"old.csv"_s, FleetSample::catalogue(m_published)),
                u"--machines"_s, m_fleet->write(u"fleet.log"_s, m_lines), u"--html"_s, place} +
                options);
    QFile file(place);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

void TestForecastPage::pageIsWritten()
{
    const QString written = page();
    QCOMPARE(m_run.err, QString());
    QCOMPARE(m_run.status, 0);
    QVERIFY2(m_run.out.startsWith(u"2 machines, 2 touched; 3 entries differ\n"_s),
             qUtf8Printable(m_run.out));
    QCOMPARE(written.section(u"<style>"_s, 0, 0),
             u"<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\"/>\n"
             "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n"
             "<title>Forecast for 2 machines</title>\n"_s);
    const QString bar = u"<td><svg viewBox=\"0 0 2 1\" preserveAspectRatio=\"none\" "
                        "aria-hidden=\"true\">%1</svg>%2</td>\n"_s;
    const auto part = [](const char* name, int x, int width) {
        return u"<rect class=\"%1\" x=\"%2\" width=\"%3\" height=\"1\"/>"_s.arg(
            QString::fromLatin1(name), QString::number(x), QString::number(width));
    };
    const auto sample = [](const char* name, const QString& text) {
        return u"<li><svg viewBox=\"0 0 1 1\" preserveAspectRatio=\"none\" aria-hidden=\"true\">"
               "<rect class=\"%1\" width=\"1\" height=\"1\"/></svg> %2</li>\n"_s.arg(
                   QString::fromLatin1(name), text);
    };
    QCOMPARE(
        written.section(u"</style>\n"_s, 1),
        u"</head>\n<body>\n<main>\n<h1>Forecast for 2 machines</h1>\n"
        "<p>2 machines, 2 touched; 3 entries differ</p>\n<ul class=\"legend\">\n"_s +
            sample("older", u"update available"_s) + sample("equal", u"up to date"_s) +
            sample("newer", u"newer than the catalogue"_s) + sample("missing", u"not installed"_s) +
            sample("unknown", u"unknown"_s) + sample("absent", u"no row"_s) +
            u"</ul>\n<table>\n<caption>Entries that touch most machines come first. An entry has "
            "the colour that it will have in most windows.</caption>\n"
            "<thead>\n<tr><th scope=\"col\">Entry</th><th scope=\"col\">Version</th>"
            "<th scope=\"col\">Machines touched</th><th scope=\"col\">Before</th>"
            "<th scope=\"col\">After</th></tr>\n</thead>\n<tbody>\n"
            "<tr>\n<th scope=\"row\" class=\"shown newer\">Basaltine</th>\n"
            "<td class=\"shown newer\">new: 5</td>\n<td class=\"number\">2</td>\n"_s +
            bar.arg(part("absent", 0, 2), u"2 no row"_s) +
            bar.arg(part("newer", 0, 1) + part("missing", 1, 1),
                    u"1 newer than the catalogue, 1 not installed"_s) +
            u"</tr>\n<tr>\n<th scope=\"row\" class=\"shown absent\">Schist</th>\n"
            "<td class=\"shown absent\">goes: 3</td>\n<td class=\"number\">2</td>\n"_s +
            bar.arg(part("older", 0, 1) + part("missing", 1, 1),
                    u"1 update available, 1 not installed"_s) +
            bar.arg(part("absent", 0, 2), u"2 no row"_s) +
            u"</tr>\n<tr>\n<th scope=\"row\" class=\"shown older\">Synth</th>\n"
            "<td class=\"shown older\">1.0 → 2.0</td>\n<td class=\"number\">1</td>\n"_s +
            bar.arg(part("equal", 0, 1) + part("newer", 1, 1),
                    u"1 up to date, 1 newer than the catalogue"_s) +
            bar.arg(part("older", 0, 1) + part("newer", 1, 1),
                    u"1 update available, 1 newer than the catalogue"_s) +
            u"</tr>\n</tbody>\n</table>\n<h2>What follows</h2>\n<ul>\n"
            "<li>Going back: once users have updated, publishing the old catalogue again turns 1 "
            "row newer</li>\n<li>Traffic: at most 1 download</li>\n</ul>\n"
            "</main>\n</body>\n</html>\n"_s);
}

void TestForecastPage::coloursAreTheClients()
{
    const QString style = textsOf(page(), u"style"_s).value(0);
    const QList<std::pair<QString, QString>> names = {{u"older"_s, u"update available"_s},
                                                      {u"equal"_s, u"up to date"_s},
                                                      {u"newer"_s, u"newer than the catalogue"_s},
                                                      {u"missing"_s, u"not installed"_s}};
    for (const auto& [name, verdict] : names) {
        const QString rule = u".%1 { background: %2; fill: %2; }\n"_s.arg(name, colorOf(verdict));
        QVERIFY2(style.contains(rule), qUtf8Printable(rule));
    }
}

void TestForecastPage::pageNeedsNothingElse()
{
    const QString written = page();
    QVERIFY(!written.isEmpty());
    for (const QString& reference : {u"<script"_s, u"<link"_s, u"<img"_s, u"src="_s, u"href="_s,
                                     u"url("_s, u"@import"_s, u"http"_s, u"onclick"_s, u"-mac"_s}) {
        QVERIFY2(!written.contains(reference), qUtf8Printable(reference));
    }
    QVERIFY(written.contains(u"@media (prefers-color-scheme: dark)"_s));
    QVERIFY(written.contains(u"@media print"_s));
}

void TestForecastPage::namesAreNoMarkup()
{
    m_next = {"<b>&amp;\"'\u202e,<i>9</i>"};
    m_published = {"Schist,3"};
    const QString written = page();
    QVERIFY2(written.contains(u"<th scope=\"row\" class=\"shown missing\">&lt;b&gt;&amp;amp;&quot;"
                              "&#39;\\u202e</th>\n<td class=\"shown missing\">"
                              "new: &lt;i&gt;9&lt;/i&gt;</td>"_s),
             qUtf8Printable(written));
    QCOMPARE(textsOf(written, u"b"_s), QStringList());
    QCOMPARE(textsOf(written, u"i"_s), QStringList());
}

void TestForecastPage::entriesThatTouchMostComeFirst()
{
    m_published = {"Gneiss,1", "Schist,1", "Synth,1"};
    m_next = {"Gneiss,2", "Schist,2", "Synth,2"};
    m_lines = FleetSample::snapshot(u"a"_s, {u"Synth 1"_s}) +
              FleetSample::snapshot(u"b"_s, {u"Synth 1"_s, u"Schist 1"_s, u"Gneiss 1"_s});
    const QString written = page();
    QCOMPARE(textsOf(written, u"th"_s).sliced(5).join(u' '), u"Synth Gneiss Schist"_s);
}

void TestForecastPage::sumHasAPageToo()
{
    const QString whole = page({u"--json"_s});
    const QString part = m_fleet->write(u"part.json"_s, m_run.out.toUtf8());
    const QString place = m_fleet->path() + "/sum.html"_L1;
    QCOMPARE(run(runForecast, {u"forecast"_s, u"--sum"_s, part, u"--html"_s, place}).status, 0);
    QFile file(place);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(QString::fromUtf8(file.readAll()), whole);
}

void TestForecastPage::fleetWithoutChangesHasNoTable()
{
    m_next = m_published;
    const QString written = page();
    QCOMPARE(textsOf(written, u"p"_s).join(u' '), u"2 machines, 0 touched; 0 entries differ"_s);
    QCOMPARE(textsOf(written, u"table"_s), QStringList());
    QCOMPARE(textsOf(written, u"h2"_s), QStringList());
}

void TestForecastPage::machineThatIsRefusedIsInNoBar()
{
    m_lines = "{\"snapshot\":[\n";
    const QString written = page({u"--format"_s, u"osquery-lines"_s});
    QCOMPARE(textsOf(written, u"h1"_s).join(u' '), u"Forecast for 0 machines"_s);
    QVERIFY(written.contains(u"<svg viewBox=\"0 0 0 1\" preserveAspectRatio=\"none\" "
                             "aria-hidden=\"true\"></svg></td>"_s));
    QCOMPARE(textsOf(written, u"li"_s).constLast(),
             u"Unknown: 1 of 1 machines, the record is damaged"_s);
}

void TestForecastPage::pageThatCannotBeWrittenIsAnError()
{
    const QString place = m_fleet->path() + "/none/page.html"_L1;
    const QString nowhere = page({u"--html"_s, place});
    QCOMPARE(nowhere, QString());
    QCOMPARE(m_run.status, 2);
    QVERIFY2(m_run.err.startsWith(
                 u"quillmere-catalogue forecast: %1: cannot be written: "_s.arg(place)) &&
                 m_run.err.count(u'\n') == 1,
             qUtf8Printable(m_run.err));
}

QTEST_GUILESS_MAIN(TestForecastPage)
#include "tst_forecastpage.moc"
