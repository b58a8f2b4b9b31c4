#include "support/downloadbench.h"

#include "support/cataloguetext.h"
#include "support/quietplatform.h"
#include "support/settingsfile.h"
#include "ui/waitdialog.h"
#include "support/windowclick.h"

#include <QDesktopServices>
#include <QDir>
#include <QLabel>
#include <QLinearGradient>
#include <QPushButton>
#include <QRegularExpression>
#include <QTableWidget>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

/// How many pixels of a column the bar covers.
double coveredWidth(const QBrush& brush, int width)
{
    double covered = 0.0;
    for (const QGradientStop& stop : brush.gradient()->stops()) {
        if (stop.second == QColor(127, 214, 127)) {
            covered = stop.first;
        }
    }
    return covered * width;
}

} // namespace

DownloadBench::DownloadBench(Source source) : m_source(source)
{
    quietPlatform();
    QDir().mkpath(downloads());
    QDesktopServices::setUrlHandler(u"file"_s, this, "keepOpened");
}

DownloadBench::~DownloadBench()
{
    m_window.reset();
    QDesktopServices::unsetUrlHandler(u"file"_s);
}

void DownloadBench::list(const QList<Entry>& entries)
{
    QByteArray text = catalogueTitles;
    for (const Entry& entry : entries) {
        text += catalogueLine(entry.name.toUtf8(), entry.version.toUtf8(), "2026-01-31",
                              entry.fileName.toUtf8());
    }
    setCatalogue(text);
}

void DownloadBench::listNothing()
{
    setCatalogue("Name,Version\n");
}

void DownloadBench::setCatalogue(const QByteArray& text)
{
    m_catalogue = text;
    queueReplies();
}

void DownloadBench::queueReplies()
{
    // Anew each time: the server keeps the last reply that it was given for a path.
    m_server.forget();
    m_server.reply(u"catalogue.csv"_s, {.body = m_catalogue});
    for (auto reply = m_offers.cbegin(); reply != m_offers.cend(); ++reply) {
        m_server.reply("soft/"_L1 + reply.key(), reply.value());
    }
}

void DownloadBench::offer(const QString& fileName, const HttpReply& reply)
{
    m_offers.insert(fileName, reply);
    queueReplies();
}

QString DownloadBench::downloads() const
{
    return m_machine.home().path() + "/Downloads"_L1;
}

QByteArray DownloadBench::saved(const QString& name) const
{
    return PrivateHome::read(downloads() + u'/' + name);
}

QStringList DownloadBench::savedNames() const
{
    return QDir(downloads())
        .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                   QDir::Name);
}

QString DownloadBench::softAddress() const
{
    if (!m_softAddress.isEmpty()) {
        return m_softAddress;
    }
    return m_source == Held ? m_held.url(u"soft/"_s) : m_server.url(u"soft/"_s);
}

QString DownloadBench::catalogueAddress() const
{
    return m_server.url(u"catalogue.csv"_s);
}

QByteArray DownloadBench::settings() const
{
    // The parts of an address are simply joined, so each server's may stand in the paths.
    return settingsXml({.csvPath = catalogueAddress(),
                        .softPath = softAddress(),
                        .downloadFolder = m_downloadFolder});
}

void DownloadBench::create(Visibility visibility)
{
    m_machine.home().write(u"Library/Quillmere/config.xml"_s, settings());
    restart(visibility);
}

void DownloadBench::restart(Visibility visibility)
{
    m_window.reset();
    m_window = std::make_unique<MainWindow>();
    if (visibility == Shown) {
        m_window->show();
    }
}

void DownloadBench::open(Visibility visibility, TestLine at)
{
    create(visibility);
    VERIFY_AT(at, m_window->action_loadWebData());
    (void)m_machine.takeLog();
}

QTableWidget* DownloadBench::table() const
{
    return m_window->findChild<QTableWidget*>(u"tableWidget"_s);
}

QTableWidgetItem* DownloadBench::item(int row, int column) const
{
    return table()->item(row, column);
}

QLabel* DownloadBench::label(int row) const
{
    return table()->cellWidget(row, 2)->findChild<QLabel*>();
}

QPushButton* DownloadBench::button(int row, const QString& name) const
{
    return table()->cellWidget(row, 2)->findChild<QPushButton*>(name);
}

void DownloadBench::pressDownload(int row, TestLine at) const
{
    press(row, u"downloadBtn"_s, at);
}

void DownloadBench::pressCancel(int row, TestLine at) const
{
    press(row, u"cancelBtn"_s, at);
}

void DownloadBench::press(int row, const QString& name, TestLine at) const
{
    QPushButton* pressed = button(row, name);
    if (m_window->isVisible()) {
        windowClick(pressed, at);
    } else {
        pressed->click();
    }
}

QString DownloadBench::look(int row) const
{
    QString buttons;
    for (const QString& name : {u"downloadBtn"_s, u"cancelBtn"_s}) {
        if (const QPushButton* shown = button(row, name); !shown->isHidden()) {
            buttons += shown->text();
        }
    }
    return label(row)->text() + u' ' + buttons + u' ' + background(row);
}

QString DownloadBench::background(int row) const
{
    double covered = 0.0;
    int width = 0;
    QStringList colors;
    for (int column = 0; column < 3; ++column) {
        const QBrush brush = item(row, column)->background();
        if (brush.style() == Qt::LinearGradientPattern) {
            covered += coveredWidth(brush, table()->columnWidth(column));
            colors.append(u"bar"_s);
        } else {
            colors.append(brush.style() == Qt::SolidPattern ? brush.color().name() : u"none"_s);
        }
        width += table()->columnWidth(column);
    }
    colors.removeDuplicates();
    if (colors == QStringList{u"bar"_s}) {
        return "bar "_L1 + QString::number(qRound(covered * 100.0 / width));
    }
    return colors.join(u'/');
}

QStringList DownloadBench::looks() const
{
    QStringList all;
    for (int row = 0; row < table()->rowCount(); ++row) {
        all.append(look(row));
    }
    return all;
}

bool DownloadBench::waitForLook(int row, const QString& expected) const
{
    return comesToHold([&] { return look(row) == expected; });
}

bool DownloadBench::scan()
{
    m_window->action_loadSysData();
    return waitForScan();
}

bool DownloadBench::waitForScan() const
{
    const auto* button = m_window->findChild<QPushButton*>(u"LoadButton"_s);
    return comesToHold([&] { return button->isEnabled(); });
}

bool DownloadBench::isWaitDialogVisible() const
{
    const auto* dialog = m_window->findChild<WaitDialog*>();
    return dialog && dialog->isVisible();
}

QStringList DownloadBench::opened() const
{
    QStringList paths;
    for (const QUrl& url : m_opened) {
        paths.append(url.toLocalFile());
    }
    return paths;
}

QStringList DownloadBench::takeActivity()
{
    static const QRegularExpression wanted(
        u"^\\[[A-Z]+\\] (Download - |Extract - |Install - |  [★·✗] )"_s);
    QStringList lines;
    for (const QString& line : m_machine.takeLog()) {
        if (wanted.match(line).hasMatch()) {
            lines.append(line);
        } else if (line == "[INFO] SysProfiler - New thread start"_L1) {
            lines.append(u"scan"_s);
        }
    }
    return lines;
}

void DownloadBench::keepOpened(const QUrl& url)
{
    m_opened.append(url);
}
