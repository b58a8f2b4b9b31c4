#include "faults/faultwindow.h"

#include "support/modalbox.h"
#include "support/windowclick.h"
#include "ui/preferencedialog.h"

#include <QAction>
#include <QApplication>
#include <QDialogButtonBox>
#include <QDir>
#include <QDirIterator>
#include <QImage>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QTableWidget>
#include <QTest>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString goodInstaller = u"works.dmg"_s;
const QByteArray goodBody = "an installer that works";

/// What the window shows of the good catalogue on the good machine.
const QStringList goodRows = {
    u"Works older | 1.0 | 2.0 ⤓ #ffdada"_s,
    u"Works same | 2.0 | 2.0 ⤓ #daffda"_s,
    u"Works newer | 3.0 | 2.0 ⤓ #dadaff"_s,
    u"Works absent |  | 2.0 ⤓ #d4d4d4"_s,
};

/// Whether @p found is @p expected; warns of what it is instead.
template <typename Value>
bool isSame(const char* what, const Value& found, const Value& expected)
{
    if (found == expected) {
        return true;
    }
    qWarning().noquote() << what << "is" << found << "instead of" << expected;
    return false;
}

QAction& action(MainWindow& window, const QString& name)
{
    auto* found = window.findChild<QAction*>(name);
    if (!found) {
        qFatal("no action %s", qUtf8Printable(name));
    }
    return *found;
}

/// Belongs to the sample machine, or is the log.
bool isFurniture(const QString& path)
{
    static const QStringList files = {u"find.out"_s, u"find.calls"_s, u"find.held"_s,
                                      u"Library/Quillmere/quillmere.log"_s};
    return files.contains(path) || path == "Bundles"_L1 || path.startsWith("Bundles/"_L1);
}

} // namespace

FaultWindow::FaultWindow(Source source) : DownloadBench(source) {}

void FaultWindow::openWorking(Visibility visibility, TestLine at)
{
    machine().install(u"Atlas"_s, u"1.0"_s);
    list({{.name = u"Atlas"_s}, {.name = u"Bench"_s}});
    open(visibility, at);
    VERIFY_AT(at, scan());
    COMPARE_AT(at, rows(), workingRows());
    (void)takeLines();
}

QStringList FaultWindow::workingRows()
{
    return {u"Atlas | 1.0 | 2.0 ⤓ #ffdada"_s, u"Bench |  | 2.0 ⤓ #d4d4d4"_s};
}

QStringList FaultWindow::rows() const
{
    QStringList all;
    for (int row = 0; row < table()->rowCount(); ++row) {
        all.append(item(row, 0)->text() + " | "_L1 + item(row, 1)->text() + " | "_L1 + look(row));
    }
    return all;
}

void FaultWindow::serveCatalogue(const HttpReply& reply)
{
    server().forget();
    server().reply(u"catalogue.csv"_s, reply);
}

void FaultWindow::reload()
{
    action(window(), u"actionReloadWebData"_s).trigger();
}

QStringList FaultWindow::takeLines()
{
    static const QRegularExpression duration(u"(?<=execution duration: )[0-9.e-]+(?=s\\)$)"_s);
    return machine().takeLog().replaceInStrings(duration, u"N"_s);
}

QStringList FaultWindow::loadLines(const QString& address, const QStringList& between)
{
    return QStringList{u"[INFO] WebProfiler - Clear Data"_s,
                       u"[INFO] WebProfiler - data Updating..."_s,
                       u"[INFO] WebProfiler - Reading csv data from: "_s + address} +
           between + QStringList{u"[INFO] WebProfiler - data updated (execution duration: Ns)"_s};
}

QString FaultWindow::retryLine()
{
    return u"[WARNING] WebProfiler - First attempt failed, retrying once in 2s..."_s;
}

void FaultWindow::expectFailedLoad(const QString& error, const QStringList& transfers,
                                   const std::function<void(QMessageBox&)>& look, TestLine at)
{
    BoxAnswerer boxes(QMessageBox::Ok);
    boxes.inspect(look);
    reload();
    COMPARE_AT(at, boxes.titles(), QStringList{u"File Error"_s});
    COMPARE_AT(at, boxes.texts(), QStringList{u"Ressources internet inaccessibles\n\n"_s + error});
    COMPARE_AT(at, takeLines(), loadLines(catalogueAddress(), transfers));
    COMPARE_AT(at, rows(), workingRows());
    VERIFY_AT(at, !isWaitDialogVisible());
    VERIFY_AT(at, opened().isEmpty());
    expectUntouchedDisk(at);
}

QStringList FaultWindow::disk() const
{
    const QDir home(machine().home().path());
    QStringList paths;
    QDirIterator entries(home.path(),
                         QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QFileInfo entry(entries.next());
        const QString path = home.relativeFilePath(entry.filePath());
        if (!isFurniture(path)) {
            paths.append(entry.isDir() && !entry.isSymLink() ? path + u'/' : path);
        }
    }
    paths.sort();
    return paths;
}

QStringList FaultWindow::untouchedDisk()
{
    return {u"Downloads/"_s, u"Library/"_s, u"Library/Quillmere/"_s,
            u"Library/Quillmere/config.xml"_s};
}

bool FaultWindow::isConfigUntouched() const
{
    return isSame("config.xml", PrivateHome::read(machine().home().configPath()), settings());
}

void FaultWindow::expectUntouchedDisk(TestLine at) const
{
    COMPARE_AT(at, disk(), untouchedDisk());
    VERIFY_AT(at, isConfigUntouched());
}

QString FaultWindow::pictureMarkup() const
{
    const QString path = machine().home().write(u"Bundles/picture.png"_s, {});
    QImage picture(10, pictureHeight, QImage::Format_RGB32);
    picture.fill(Qt::black);
    if (!picture.save(path)) {
        qFatal("cannot write %s", qUtf8Printable(path));
    }
    return u"<img src=\"%1\">"_s.arg(path);
}

bool FaultWindow::changePreferences(const std::function<void(PreferenceDialog&)>& use)
{
    bool isDone = false;
    QTimer timer;
    timer.callOnTimeout([&] {
        auto* dialog = qobject_cast<PreferenceDialog*>(QApplication::activeModalWidget());
        if (dialog && dialog->isVisible()) {
            timer.stop();
            isDone = true;
            use(*dialog);
            auto* buttons = dialog->findChild<QDialogButtonBox*>(u"buttonBox"_s);
            windowClick(buttons->button(QDialogButtonBox::Ok));
        }
    });
    timer.start(5);
    action(window(), u"actionPreferences"_s).trigger();
    return isDone && waitForScan();
}

bool FaultWindow::changeSettings(const QHash<QString, QString>& textByKey)
{
    return changePreferences([&](PreferenceDialog& dialog) {
        for (auto text = textByKey.cbegin(); text != textByKey.cend(); ++text) {
            dialog.findChild<QLineEdit*>("lineEdit_"_L1 + text.key())->setText(text.value());
        }
    });
}

bool FaultWindow::repairSettings()
{
    return changeSettings({{u"baseURL"_s, QString()},
                           {u"csvPath"_s, catalogueAddress()},
                           {u"csvSeparator"_s, u","_s},
                           {u"softPath"_s, softAddress()},
                           {u"downloadFolder"_s, downloads()}});
}

bool FaultWindow::windowStillWorks(TestLine at)
{
    if (const QWidget* modal = QApplication::activeModalWidget()) {
        qWarning() << "still open:" << modal;
        return false;
    }
    prepareGoodWorld();
    const BoxAnswerer boxes(QMessageBox::Ok);
    reload();
    const qsizetype openedBefore = openedUrls().size();
    windowClick(window().findChild<QPushButton*>(u"LoadButton"_s), at);
    return isSame("the number of boxes", boxes.count(), qsizetype(0)) && waitForScan() &&
           isSame("the table", rows(), goodRows) && downloadsAndOpens(at) &&
           isSame("the number of openings", openedUrls().size(), openedBefore + 1) &&
           isSame("the table at the end", rows(), goodRows) &&
           isSame("the wait dialog's visibility", isWaitDialogVisible(), false) &&
           isSame("the number of boxes", boxes.count(), qsizetype(0));
}

void FaultWindow::prepareGoodWorld()
{
    QDir().mkpath(downloads());
    machine().install(u"Works older"_s, u"1.0"_s);
    machine().install(u"Works same"_s, u"2.0"_s);
    machine().install(u"Works newer"_s, u"3.0"_s);
    offer(goodInstaller, {.body = goodBody});
    QList<Entry> entries;
    for (const QString& name :
         {u"Works older"_s, u"Works same"_s, u"Works newer"_s, u"Works absent"_s}) {
        entries.append({.name = name, .fileName = goodInstaller});
    }
    list(entries);
}

bool FaultWindow::downloadsAndOpens(TestLine at)
{
    const QString path = downloads() + u'/' + goodInstaller;
    const qsizetype before = opened().size();
    pressDownload(0, at);
    if (isHeld()) {
        const QString asked = "soft/"_L1 + goodInstaller;
        if (!comesToHold([&] { return held().waiting(asked) == 1; })) {
            qWarning() << "the installer is not asked for";
            return false;
        }
        held().answer(asked, goodBody, 200, at);
    }
    if (!comesToHold([&] { return opened().size() > before; })) {
        qWarning() << "the installer is not opened";
        return false;
    }
    return waitForScan() && isSame("what is opened", opened().constLast(), path) &&
           isSame("what is saved", PrivateHome::read(path), goodBody);
}
