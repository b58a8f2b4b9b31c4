#include "ui/preferencedialog.h"

#include "app/buildinfo.h"
#include "app/debug.h"
#include "config/configmanager.h"
#include "support/limits.h"
#include "support/controlwalk.h"
#include "support/modalbox.h"
#include "support/privatehome.h"
#include "support/testline.h"
#include "support/windowclick.h"

#include <QApplication>
#include <QColorDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <functional>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Settings that differ from every default, with the line ends and the indentation of another
/// editor, so that only the very bytes can bring the file back.
const QByteArray ownSettings =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
    "<root>\r\n"
    "  <!-- ours -->\r\n"
    "  <color><base>#102030</base><down>#405060</down>\r\n"
    "    <equal>#708090</equal><up>#a0b0c0</up></color>\r\n"
    "  <webconfig><baseURL>https://own.example.org/</baseURL><csvPath>own.csv</csvPath>\r\n"
    "    <csvSeparator>;</csvSeparator><softPath>own/software/</softPath></webconfig>\r\n"
    "  <localconfig><downloadFolder>~/Own</downloadFolder></localconfig>\r\n"
    "</root>\r\n\r\n";

/// What the user does with the dialog; it is shown and has the focus.
using Ending = std::function<void(PreferenceDialog&)>;

/// Answers the modal dialogs of one kind that open while it lives. Afterwards, and when another one
/// comes up, it closes them, so that none is ever left to block the test.
template <typename Dialog>
class Answering
{
public:
    explicit Answering(std::function<void(Dialog&)> answer) : m_answer(std::move(answer))
    {
        m_timer.callOnTimeout([this] { answerDialog(); });
        m_timer.start(5);
        // A timer of its own: the first one waits while an answer has opened a box.
        m_guard.callOnTimeout([this] { closeOthers(); });
        m_guard.start(5);
    }
    /// How many were answered; negative when others came up.
    [[nodiscard]] int count() const { return m_others > 0 ? -m_others : m_count; }

private:
    void answerDialog()
    {
        auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible()) {
            return;
        }
        ++m_count;
        m_answer(*dialog);
        if (dialog->isVisible()) {
            dialog->close();
        }
    }

    void closeOthers()
    {
        QWidget* other = QApplication::activeModalWidget();
        if (other && other->isVisible() && !qobject_cast<Dialog*>(other)) {
            ++m_others;
            other->close();
        }
    }

    std::function<void(Dialog&)> m_answer;
    QTimer m_timer;
    QTimer m_guard;
    int m_count = 0;
    int m_others = 0;
};

/// The chooser's field for the opacity, 0 to 255.
QSpinBox* opacityField(const QColorDialog& dialog)
{
    for (const auto* label : dialog.findChildren<QLabel*>()) {
        if (label->text().contains("lpha"_L1)) {
            return qobject_cast<QSpinBox*>(label->buddy());
        }
    }
    qFatal("the colour chooser has no field for the opacity");
}

/// Accepts although a chooser declares its own accept() protected.
void acceptDialog(QDialog& dialog)
{
    dialog.accept();
}

QLineEdit* lineEdit(const PreferenceDialog& dialog, const char* key)
{
    return dialog.findChild<QLineEdit*>("lineEdit_"_L1 + QLatin1StringView(key));
}

QPushButton* button(const PreferenceDialog& dialog, const char* name)
{
    return dialog.findChild<QPushButton*>(QString::fromLatin1(name));
}

QPushButton* colorButton(const PreferenceDialog& dialog, int index)
{
    return dialog.findChild<QPushButton*>("colorButton_"_L1 + QString::number(index));
}

QPushButton* standardButton(const PreferenceDialog& dialog, QDialogButtonBox::StandardButton which)
{
    return dialog.findChild<QDialogButtonBox*>(u"buttonBox"_s)->button(which);
}

void pressOk(PreferenceDialog& dialog)
{
    windowClick(standardButton(dialog, QDialogButtonBox::Ok));
}

void pressCancel(PreferenceDialog& dialog)
{
    windowClick(standardButton(dialog, QDialogButtonBox::Cancel));
}

void pressEscape(PreferenceDialog&)
{
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
}

void pressControlW(PreferenceDialog&)
{
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_W, Qt::ControlModifier);
}

void pressCloseButton(PreferenceDialog& dialog)
{
    dialog.close();
}

/// The colours that the swatches show, by index.
QStringList swatches(const PreferenceDialog& dialog)
{
    QStringList colors;
    for (int index = 0; index < 4; ++index) {
        colors.append(colorButton(dialog, index)->styleSheet());
    }
    return colors;
}

QStringList styleSheets(const QStringList& colors)
{
    QStringList sheets;
    for (const QString& color : colors) {
        sheets.append("background-color: "_L1 + color);
    }
    return sheets;
}

/// The texts of all line edits, from top to bottom.
QStringList lineTexts(const PreferenceDialog& dialog)
{
    QStringList texts;
    for (const char* key : {"downloadFolder", "baseURL", "csvPath", "csvSeparator", "softPath"}) {
        texts.append(lineEdit(dialog, key)->text());
    }
    return texts;
}

/// A file with @p entries, in the form that the store writes.
QByteArray savedFile(const QString& base, const QString& down, const QString& equal,
                     const QString& up, const QStringList& texts)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<root>\n"
           "\t<color>\n"
           "\t\t<base>%1</base>\n\t\t<down>%2</down>\n\t\t<equal>%3</equal>\n\t\t<up>%4</up>\n"
           "\t</color>\n"
           "\t<localconfig>\n\t\t<downloadFolder>%5</downloadFolder>\n\t</localconfig>\n"
           "\t<webconfig>\n"
           "\t\t<baseURL>%6</baseURL>\n\t\t<csvPath>%7</csvPath>\n"
           "\t\t<csvSeparator>%8</csvSeparator>\n\t\t<softPath>%9</softPath>\n"
           "\t</webconfig>\n"
           "</root>"_L1.arg(base, down, equal, up, texts[0], texts[1], texts[2], texts[3], texts[4])
               .toUtf8();
}

const QStringList defaultSwatches =
    styleSheets({u"#d4d4d4"_s, u"#daffda"_s, u"#ffdada"_s, u"#dadaff"_s});
const QStringList ownSwatches =
    styleSheets({u"#102030"_s, u"#708090"_s, u"#405060"_s, u"#a0b0c0"_s});

/// The ends of the dialog, with what each yields.
void addEnds(const QString& without = {})
{
    QTest::addColumn<Ending>("end");
    QTest::addColumn<int>("result");
    QTest::addColumn<QString>("logged");
    QTest::addColumn<int>("finishedCount");

    const auto row = [&without](const char* what, const Ending& end, int result,
                                const QString& logged, int finishedCount) {
        if (without != QLatin1StringView(what)) {
            QTest::newRow(what) << end << result << logged << finishedCount;
        }
    };
    // OK and Cancel accept and reject twice: the form first, their own slot at its end.
    row("OK", pressOk, QDialog::Accepted, u"[INFO] PreferenceDialog:Accepted"_s, 2);
    row("Cancel", pressCancel, QDialog::Rejected, u"[INFO] PreferenceDialog:Rejected"_s, 2);
    row("Escape", pressEscape, QDialog::Rejected, {}, 1);
    row("the window's close button", pressCloseButton, QDialog::Rejected, {}, 1);
    row("Control+W", pressControlW, QDialog::Accepted, {}, 1);
}

} // namespace

class TestPreferenceDialog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    // The form
    void hasItsNamesSizeAndTexts();
    void labelsSeparatorsAndEditorsFormRows_data();
    void labelsSeparatorsAndEditorsFormRows();
    void groupsAndButtonsStandBelowEachOther();

    // What it shows
    void showsTheStoresValues();
    void colorTexts_data();
    void colorTexts();
    void leadingTildeIsShownAsTheHomePath();

    // The choosers
    void chosenColorIsShownAndSaved_data();
    void chosenColorIsShownAndSaved();
    void chooserStartsWithTheButtonsColor();
    void cancelledColorChooserChangesNothing();
    void transparencyOfAChosenColorIsDropped();
    void folderChooserStartsAtTheTypedFolder();
    void chosenFolderIsShown();
    void cancelledFolderChooserChangesNothing();

    // OK
    void okSavesEverything();
    void okSavesTextsAsTyped_data();
    void okSavesTextsAsTyped();
    void okWritesTheTildeOut();
    void okClosesBeforeItWrites();
    void failedSaveIsToldAndTheDialogStaysAccepted();
    void emptyStoreIsShownAndItsFailedSaveTold();

    // Every other end
    void execReturnsTheResult();
    void endsWithoutAnEdit_data();
    void endsWithoutAnEdit();
    void endsAfterAnEditWithoutOkWriteNothing_data();
    void endsAfterAnEditWithoutOkWriteNothing();

    // Reset
    void resetShowsAndSavesTheDefaultsAtOnce();
    void resetThenCancelBringsTheBytesBack();
    void resetThenCancelKeepsAFileThatCannotBeWritten();
    void resetThenCancelKeepsTheFileOnAFullDisk();
    void resetThenCancelWithoutASnapshot_data();
    void resetThenCancelWithoutASnapshot();
    void resetTwiceThenCancelBringsTheBytesBack();
    void resetThenCancelBringsADeletedFileBack();
    void resetThenOkSavesDefaultsAndLaterEdits();
    void resetStaysAfterEndsThatBypassCancel_data();
    void resetStaysAfterEndsThatBypassCancel();
    void failedResetIsToldAndTheDialogStaysOpen();
    void failedResetIsNotUndone();

    // Keyboard and screen reader
    void focusStartsOnTheFirstTextAndOkIsTheDefault();
    void enterInALineMeansOk_data();
    void enterInALineMeansOk();
    void enterOnAFocusedButtonPressesIt();
    void enterInALineMeansOkAfterAButtonHadTheFocus();
    void tabGoesThroughEverythingInReadingOrder();
    void everyControlHasAName();
    void noStateIsToldByColorAlone();

private:
    /// A store on a file of @p bytes and a dialog on it, shown and active.
    void open(const QByteArray& bytes);
    void openDialog(const QString& defaultFile = u":/resources/default-config.xml"_s,
                    TestLine at = {});
    /// Gives the dialog the keyboard, also after a box: there is no desktop to do it here.
    [[nodiscard]] bool activate();
    [[nodiscard]] QByteArray fileBytes() const { return PrivateHome::read(m_home->configPath()); }
    [[nodiscard]] QString parameter(const char* group, const char* key) const
    {
        return m_config->getParameter(QString::fromLatin1(group), QString::fromLatin1(key));
    }
    /// Presses "Reset to default" and answers the box; false when it did not tell of success.
    [[nodiscard]] bool reset();

    std::unique_ptr<PrivateHome> m_home;
    std::unique_ptr<QWidget> m_window;
    std::unique_ptr<ConfigManager> m_config;
    std::unique_ptr<PreferenceDialog> m_dialog;
};

void TestPreferenceDialog::init()
{
    m_home = std::make_unique<PrivateHome>();
    m_window = std::make_unique<QWidget>();
    Debug::init();
}

void TestPreferenceDialog::cleanup()
{
    m_dialog.reset();
    m_config.reset();
    m_window.reset();
    m_home.reset();
}

void TestPreferenceDialog::open(const QByteArray& bytes)
{
    m_home->write(u"Library/Quillmere/config.xml"_s, bytes);
    openDialog();
}

void TestPreferenceDialog::openDialog(const QString& defaultFile, TestLine at)
{
    m_config = std::make_unique<ConfigManager>(u"config.xml"_s, defaultFile);
    m_dialog = std::make_unique<PreferenceDialog>(*m_config, m_window.get());
    m_dialog->show();
    VERIFY_AT(at, activate());
}

bool TestPreferenceDialog::activate()
{
    m_dialog->activateWindow();
    return QTest::qWaitForWindowActive(m_dialog.get());
}

bool TestPreferenceDialog::reset()
{
    const BoxAnswerer answers(QMessageBox::Ok);
    windowClick(button(*m_dialog, "resetButton"));
    return answers.titles() == QStringList{u"Success"_s} &&
           answers.texts() == QStringList{u"Default configuration restored."_s};
}

void TestPreferenceDialog::hasItsNamesSizeAndTexts()
{
    open(ownSettings);
    QCOMPARE(m_dialog->objectName(), u"PreferenceDialog"_s);
    QCOMPARE(m_dialog->windowTitle(), u"Preferences"_s);
    QCOMPARE(m_dialog->minimumSize(), QSize(400, 520));
    QCOMPARE(m_dialog->maximumSize(), QSize(400, 520));
    QCOMPARE(m_dialog->parentWidget(), m_window.get());
    const auto title = [this](const char* name) {
        return m_dialog->findChild<QGroupBox*>(QString::fromLatin1(name))->title();
    };
    QCOMPARE(title("groupBox_interfaceColor"), u"Interface color"_s);
    QCOMPARE(title("groupBox_webParameters"), u"Local configuration"_s);
    QCOMPARE(title("groupBox_webConfig"), u"Web configuration"_s);
    QCOMPARE(m_dialog->findChild<QGroupBox*>(u"groupBox_interfaceColor"_s)->minimumHeight(), 100);
    QCOMPARE(button(*m_dialog, "browseButton")->text(), u"..."_s);
    QCOMPARE(button(*m_dialog, "browseButton")->maximumWidth(), 30);
    QCOMPARE(button(*m_dialog, "resetButton")->text(), u"Reset to default"_s);
    QCOMPARE(lineEdit(*m_dialog, "csvSeparator")->maximumWidth(), 40);
    for (int index = 0; index < 4; ++index) {
        QCOMPARE(colorButton(*m_dialog, index)->text(), QString());
    }
    const auto* box = m_dialog->findChild<QDialogButtonBox*>(u"buttonBox"_s);
    QCOMPARE(box->orientation(), Qt::Horizontal);
    QCOMPARE(box->standardButtons(), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    for (const auto* widget : m_dialog->findChildren<QWidget*>()) {
        QVERIFY2(widget->toolTip().isEmpty(), qPrintable(widget->objectName()));
    }
}

void TestPreferenceDialog::labelsSeparatorsAndEditorsFormRows_data()
{
    QTest::addColumn<QString>("layout");
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("label");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("separator");
    QTest::addColumn<QStringList>("editors");

    const auto row = [](const char* layout, int number, const char* label, const char* text,
                        int separator, const QStringList& editors) {
        QTest::newRow(text) << "gridLayout_"_L1 + QLatin1StringView(layout) << number
                            << "label_"_L1 + QLatin1StringView(label) << QString::fromLatin1(text)
                            << separator << editors;
    };
    row("interfaceColor", 0, "base", "Base", 0, {u"colorButton_0"_s});
    row("interfaceColor", 1, "down", "Down", 1, {u"colorButton_2"_s});
    row("interfaceColor", 2, "equal", "Equal", 2, {u"colorButton_1"_s});
    row("interfaceColor", 3, "up", "Up", 3, {u"colorButton_3"_s});
    row("webParameters", 0, "downloadFolder", "Download Folder", 4,
        {u"lineEdit_downloadFolder"_s, u"browseButton"_s});
    row("webConfig", 0, "baseURL", "Base URL", 5, {u"lineEdit_baseURL"_s});
    row("webConfig", 1, "csvPath", "CSV Path", 6, {u"lineEdit_csvPath"_s});
    row("webConfig", 2, "csvSeparator", "CSV Separator", 7, {u"lineEdit_csvSeparator"_s});
    row("webConfig", 3, "softPath", "Software Path", 8, {u"lineEdit_softPath"_s});
}

void TestPreferenceDialog::labelsSeparatorsAndEditorsFormRows()
{
    QFETCH(QString, layout);
    QFETCH(int, row);
    QFETCH(QString, label);
    QFETCH(QString, text);
    QFETCH(int, separator);
    QFETCH(QStringList, editors);

    open(ownSettings);
    const auto* grid = m_dialog->findChild<QGridLayout*>(layout);
    QVERIFY(grid);
    QStringList names;
    for (int column = 0; column < grid->columnCount(); ++column) {
        if (const QLayoutItem* item = grid->itemAtPosition(row, column)) {
            names.append(item->widget()->objectName());
        }
    }
    const QString separatorName = "label_sep_"_L1 + QString::number(separator);
    QCOMPARE(names, (QStringList{label, separatorName} + editors));
    QCOMPARE(m_dialog->findChild<QLabel*>(label)->text(), text);
    QCOMPARE(m_dialog->findChild<QLabel*>(separatorName)->text(), u":"_s);
    QCOMPARE(m_dialog->findChild<QLabel*>(label)->buddy()->objectName(), editors.first());
}

void TestPreferenceDialog::groupsAndButtonsStandBelowEachOther()
{
    open(ownSettings);
    const auto* column = m_dialog->findChild<QVBoxLayout*>(u"verticalLayout"_s);
    QVERIFY(column);
    QStringList names;
    for (int i = 0; i < column->count(); ++i) {
        names.append(column->itemAt(i)->widget()->objectName());
    }
    QCOMPARE(names, (QStringList{u"groupBox_interfaceColor"_s, u"groupBox_webParameters"_s,
                                 u"groupBox_webConfig"_s, u"resetButton"_s, u"buttonBox"_s}));
    for (const char* name : {"gridLayout", "gridLayout_3", "gridLayout_4", "gridLayout_5"}) {
        QVERIFY2(m_dialog->findChild<QGridLayout*>(QString::fromLatin1(name)), name);
    }
}

void TestPreferenceDialog::showsTheStoresValues()
{
    open(ownSettings);
    QCOMPARE(swatches(*m_dialog), ownSwatches);
    QCOMPARE(lineTexts(*m_dialog),
             (QStringList{QDir::homePath() + "/Own"_L1, u"https://own.example.org/"_s, u"own.csv"_s,
                          u";"_s, u"own/software/"_s}));
}

void TestPreferenceDialog::colorTexts_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shownAndSaved");
    QTest::newRow("lower-case digits") << u"#abcdef"_s << u"#abcdef"_s;
    QTest::newRow("upper-case digits become lower") << u"#ABCDEF"_s << u"#abcdef"_s;
    QTest::newRow("three digits become six") << u"#0f8"_s << u"#00ff88"_s;
    QTest::newRow("a name becomes its digits") << u"red"_s << u"#ff0000"_s;
    QTest::newRow("transparency is dropped") << u"#80102030"_s << u"#102030"_s;
    QTest::newRow("an unknown text is black") << u"bleu"_s << u"#000000"_s;
    QTest::newRow("an empty text is black") << QString() << u"#000000"_s;
}

void TestPreferenceDialog::colorTexts()
{
    QFETCH(QString, text);
    QFETCH(QString, shownAndSaved);
    open(QByteArray(ownSettings).replace("#708090", text.toUtf8()));
    QCOMPARE(colorButton(*m_dialog, 1)->styleSheet(), "background-color: "_L1 + shownAndSaved);
    pressOk(*m_dialog);
    QCOMPARE(parameter("color", "equal"), shownAndSaved);
    QVERIFY(fileBytes().contains("<equal>" + shownAndSaved.toUtf8() + "</equal>"));
}

void TestPreferenceDialog::leadingTildeIsShownAsTheHomePath()
{
    open(ownSettings);
    QCOMPARE(lineEdit(*m_dialog, "downloadFolder")->text(), QDir::homePath() + "/Own"_L1);
}

void TestPreferenceDialog::chosenColorIsShownAndSaved_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("key");
    QTest::newRow("button 0 is base") << 0 << u"base"_s;
    QTest::newRow("button 1 is equal") << 1 << u"equal"_s;
    QTest::newRow("button 2 is down") << 2 << u"down"_s;
    QTest::newRow("button 3 is up") << 3 << u"up"_s;
}

void TestPreferenceDialog::chosenColorIsShownAndSaved()
{
    QFETCH(int, index);
    QFETCH(QString, key);
    open(ownSettings);
    QStringList expected = ownSwatches;
    expected[index] = u"background-color: #0a1b2c"_s;
    QMap<QString, QString> colors = m_config->getParameters(u"color"_s);
    const QMap<QString, QString> before = colors;
    colors[key] = u"#0a1b2c"_s;

    const Answering<QColorDialog> chooser([](QColorDialog& dialog) {
        dialog.setCurrentColor(QColor(0x0a, 0x1b, 0x2c));
        dialog.accept();
    });
    windowClick(colorButton(*m_dialog, index));
    QCOMPARE(chooser.count(), 1);
    QCOMPARE(swatches(*m_dialog), expected);
    QCOMPARE(m_config->getParameters(u"color"_s), before);
    pressOk(*m_dialog);
    QCOMPARE(m_config->getParameters(u"color"_s), colors);
}

void TestPreferenceDialog::chooserStartsWithTheButtonsColor()
{
    open(ownSettings);
    QList<QColor> initial;
    QStringList titles;
    const QWidget* parent = nullptr;
    const Answering<QColorDialog> chooser([&](QColorDialog& dialog) {
        initial.append(dialog.currentColor());
        titles.append(dialog.windowTitle());
        parent = dialog.parentWidget();
    });
    for (int index = 0; index < 4; ++index) {
        windowClick(colorButton(*m_dialog, index));
    }
    QCOMPARE(initial, (QList<QColor>{QColor(0x10, 0x20, 0x30), QColor(0x70, 0x80, 0x90),
                                     QColor(0x40, 0x50, 0x60), QColor(0xa0, 0xb0, 0xc0)}));
    QCOMPARE(titles, QStringList(4, u"Choisissez une couleur"_s));
    QCOMPARE(parent, m_dialog.get());
}

void TestPreferenceDialog::cancelledColorChooserChangesNothing()
{
    open(ownSettings);
    const Answering<QColorDialog> chooser([](QColorDialog& dialog) {
        dialog.setCurrentColor(QColor(1, 2, 3));
        dialog.reject();
    });
    windowClick(colorButton(*m_dialog, 2));
    QCOMPARE(chooser.count(), 1);
    QCOMPARE(swatches(*m_dialog), ownSwatches);
    pressOk(*m_dialog);
    QCOMPARE(parameter("color", "down"), u"#405060"_s);
}

void TestPreferenceDialog::transparencyOfAChosenColorIsDropped()
{
    open(ownSettings);
    QList<int> initialOpacity;
    QList<QColor> chosen;
    const Answering<QColorDialog> chooser([&](QColorDialog& dialog) {
        dialog.setOption(QColorDialog::ShowAlphaChannel);
        initialOpacity.append(opacityField(dialog)->value());
        connect(&dialog, &QColorDialog::colorSelected, this,
                [&chosen](const QColor& color) { chosen.append(color); });
        dialog.setCurrentColor(QColor(1, 2, 3, 64));
        dialog.accept();
    });
    windowClick(colorButton(*m_dialog, 3));
    QCOMPARE(chosen, QList<QColor>{QColor(1, 2, 3, 64)});
    QCOMPARE(colorButton(*m_dialog, 3)->styleSheet(), u"background-color: #010203"_s);
    // Opened again it starts with the colour that was kept, which is opaque.
    windowClick(colorButton(*m_dialog, 3));
    QCOMPARE(initialOpacity, (QList<int>{255, 255}));
    pressOk(*m_dialog);
    QCOMPARE(parameter("color", "up"), u"#010203"_s);
}

void TestPreferenceDialog::folderChooserStartsAtTheTypedFolder()
{
    open(ownSettings);
    QVERIFY(QDir(m_home->path()).mkpath(u"Some where"_s));
    const QString folder = m_home->path() + "/Some where"_L1;
    lineEdit(*m_dialog, "downloadFolder")->setText(folder);
    QStringList seen;
    const Answering<QFileDialog> chooser([&](QFileDialog& dialog) {
        seen = {dialog.windowTitle(), dialog.directory().absolutePath()};
        QCOMPARE(dialog.parentWidget(), m_dialog.get());
        QCOMPARE(dialog.fileMode(), QFileDialog::Directory);
        QVERIFY(dialog.testOption(QFileDialog::ShowDirsOnly));
        dialog.close();
    });
    windowClick(button(*m_dialog, "browseButton"));
    QCOMPARE(seen, (QStringList{u"Download Folder"_s, folder}));
}

void TestPreferenceDialog::chosenFolderIsShown()
{
    open(ownSettings);
    QVERIFY(QDir(m_home->path()).mkpath(u"Chosén & kept"_s));
    const QString folder = m_home->path() + u"/Chosén & kept"_s;
    const Answering<QFileDialog> chooser([&folder](QFileDialog& dialog) {
        dialog.findChild<QLineEdit*>(u"fileNameEdit"_s)->setText(folder);
        acceptDialog(dialog);
    });
    windowClick(button(*m_dialog, "browseButton"));
    QCOMPARE(chooser.count(), 1);
    QCOMPARE(lineEdit(*m_dialog, "downloadFolder")->text(), folder);
    QCOMPARE(parameter("localconfig", "downloadFolder"), u"~/Own"_s);
    pressOk(*m_dialog);
    QCOMPARE(parameter("localconfig", "downloadFolder"), folder);
}

void TestPreferenceDialog::cancelledFolderChooserChangesNothing()
{
    open(ownSettings);
    lineEdit(*m_dialog, "downloadFolder")->setText(u"typed, not there"_s);
    const Answering<QFileDialog> chooser([](QFileDialog& dialog) { dialog.close(); });
    windowClick(button(*m_dialog, "browseButton"));
    QCOMPARE(chooser.count(), 1);
    QCOMPARE(lineEdit(*m_dialog, "downloadFolder")->text(), u"typed, not there"_s);
}

void TestPreferenceDialog::okSavesEverything()
{
    open(ownSettings);
    const QStringList texts = {u"/new/folder"_s, u"http://new.example.org"_s, u"new.csv"_s, u"|"_s,
                               u"new/"_s};
    const char* const keys[] = {"downloadFolder", "baseURL", "csvPath", "csvSeparator", "softPath"};
    for (int i = 0; i < texts.size(); ++i) {
        lineEdit(*m_dialog, keys[i])->setText(texts[i]);
    }
    pressOk(*m_dialog);
    QCOMPARE(fileBytes(), savedFile(u"#102030"_s, u"#405060"_s, u"#708090"_s, u"#a0b0c0"_s, texts));
    const ConfigManager readAgain(u"config.xml"_s, {});
    QCOMPARE(readAgain.data2XML(), m_config->data2XML());
}

void TestPreferenceDialog::okSavesTextsAsTyped_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("text");

    const auto row = [](const char* what, const char* key, const char* text) {
        QTest::newRow(what) << QString::fromLatin1(key) << QString::fromUtf8(text);
    };
    row("an empty separator", "csvSeparator", "");
    row("a separator of several characters", "csvSeparator", "||");
    row("a tab as separator", "csvSeparator", "\t");
    row("a blank as separator", "csvSeparator", " ");
    row("a URL without a final slash", "baseURL", "https://x.example.org");
    row("a URL without a scheme", "baseURL", "x.example.org/");
    row("blanks at both ends", "baseURL", "  https://x.example.org/  ");
    row("an empty URL", "baseURL", "");
    row("a path that climbs", "csvPath", "../a%20b/../ü.csv");
    row("placeholders", "softPath", "%1/%2/%9/");
    row("markup, unescaped", "softPath", "a&b<c>/");
    row("a folder that is not there", "downloadFolder", "/nowhere/at all");
    row("an empty folder", "downloadFolder", "");
    row("a tilde typed anew", "downloadFolder", "~/Typed");
}

void TestPreferenceDialog::okSavesTextsAsTyped()
{
    QFETCH(QString, key);
    QFETCH(QString, text);
    open(ownSettings);
    QLineEdit* edit = lineEdit(*m_dialog, qPrintable(key));
    edit->clear();
    edit->insert(text);
    pressOk(*m_dialog);
    const char* group = key == "downloadFolder"_L1 ? "localconfig" : "webconfig";
    QCOMPARE(parameter(group, qPrintable(key)), text);
    QVERIFY(fileBytes().contains("<%1>%2</%1>"_L1.arg(key, text).toUtf8()));
}

void TestPreferenceDialog::okWritesTheTildeOut()
{
    open(ownSettings);
    pressOk(*m_dialog);
    QCOMPARE(parameter("localconfig", "downloadFolder"), QDir::homePath() + "/Own"_L1);
}

void TestPreferenceDialog::okClosesBeforeItWrites()
{
    open(ownSettings);
    lineEdit(*m_dialog, "csvPath")->setText(u"edited.csv"_s);
    QStringList valuesWhenFinished;
    connect(m_dialog.get(), &QDialog::finished, this, [&] {
        valuesWhenFinished.append( // clazy:exclude=lambda-in-connect pressOk() ends it
            parameter("webconfig", "csvPath"));
        QCOMPARE(m_dialog->result(), int(QDialog::Accepted));
        QVERIFY(!m_dialog->isVisible());
    });
    pressOk(*m_dialog);
    QCOMPARE(valuesWhenFinished, (QStringList{u"own.csv"_s, u"edited.csv"_s}));
}

void TestPreferenceDialog::failedSaveIsToldAndTheDialogStaysAccepted()
{
    open(ownSettings);
    // A folder in the file's place cannot be written, not even by root.
    QVERIFY(QFile::remove(m_home->configPath()));
    QVERIFY(QDir().mkpath(m_home->configPath()));
    lineEdit(*m_dialog, "csvPath")->setText(u"edited.csv"_s);

    BoxAnswerer answers(QMessageBox::Ok);
    bool wasVisible = true;
    answers.inspect([&](QMessageBox&) { wasVisible = m_dialog->isVisible(); });
    pressOk(*m_dialog);
    QCOMPARE(answers.titles(), QStringList{u"Error"_s});
    QCOMPARE(answers.texts(),
             QStringList{u"Failed to save configuration file — check that it isn't read-only."_s});
    QVERIFY(!wasVisible);
    QCOMPARE(m_dialog->result(), int(QDialog::Accepted));
    QCOMPARE(parameter("webconfig", "csvPath"), u"edited.csv"_s);
    QCOMPARE(m_home->logLines().mid(2),
             (QStringList{u"[INFO] PreferenceDialog:Accepted"_s, u"[INFO] Saving..."_s,
                          u"[ERROR] Saving failed"_s}));
}

void TestPreferenceDialog::emptyStoreIsShownAndItsFailedSaveTold()
{
    // Without a file and a default for it there is no path and nothing in the store.
    QTest::failOnWarning(QRegularExpression(u"No file name"_s));
    openDialog({});
    QCOMPARE(m_config->filePath(), QString());
    QCOMPARE(swatches(*m_dialog), styleSheets(QStringList(4, u"#000000"_s)));
    QCOMPARE(lineTexts(*m_dialog), QStringList(5, u""_s));

    lineEdit(*m_dialog, "csvPath")->setText(u"edited.csv"_s);
    const BoxAnswerer answers(QMessageBox::Ok);
    pressOk(*m_dialog);
    QCOMPARE(answers.texts(),
             QStringList{u"Failed to save configuration file — check that it isn't read-only."_s});
    QCOMPARE(m_dialog->result(), int(QDialog::Accepted));
    QCOMPARE(parameter("webconfig", "csvPath"), QString());
}

void TestPreferenceDialog::execReturnsTheResult()
{
    openDialog();
    const auto run = [this](void (*press)(PreferenceDialog&)) {
        PreferenceDialog dialog(*m_config, m_window.get());
        QTimer::singleShot(0, &dialog, [press, &dialog] { press(dialog); });
        return dialog.exec();
    };
    QCOMPARE(run(pressOk), int(QDialog::Accepted));
    QCOMPARE(run(pressCancel), int(QDialog::Rejected));
}

void TestPreferenceDialog::endsWithoutAnEdit_data()
{
    addEnds();
}

void TestPreferenceDialog::endsWithoutAnEdit()
{
    QFETCH(Ending, end);
    QFETCH(int, result);
    QFETCH(QString, logged);
    QFETCH(int, finishedCount);
    open(ownSettings);
    m_dialog->setResult(-1);
    const QSignalSpy finished(m_dialog.get(), &QDialog::finished);
    end(*m_dialog);
    QVERIFY(!m_dialog->isVisible());
    QCOMPARE(m_dialog->result(), result);
    QCOMPARE(finished.count(), finishedCount);
    QStringList lines = m_home->logLines().mid(2);
    lines.removeIf([](const QString& line) { return !line.contains("PreferenceDialog"_L1); });
    QCOMPARE(lines, logged.isEmpty() ? QStringList() : QStringList{logged});
}

void TestPreferenceDialog::endsAfterAnEditWithoutOkWriteNothing_data()
{
    addEnds(u"OK"_s);
}

void TestPreferenceDialog::endsAfterAnEditWithoutOkWriteNothing()
{
    QFETCH(Ending, end);
    QFETCH(int, result);
    open(ownSettings);
    const QString storeBefore = m_config->data2XML();
    lineEdit(*m_dialog, "baseURL")->setText(u"https://edited.example.org/"_s);
    lineEdit(*m_dialog, "downloadFolder")->setText(u"/edited"_s);
    {
        const Answering<QColorDialog> chooser([](QColorDialog& dialog) {
            dialog.setCurrentColor(QColor(1, 2, 3));
            dialog.accept();
        });
        windowClick(colorButton(*m_dialog, 0));
    }
    QVERIFY(activate());
    end(*m_dialog);
    QCOMPARE(m_dialog->result(), result);
    QCOMPARE(m_config->data2XML(), storeBefore);
    QCOMPARE(fileBytes(), ownSettings);
}

void TestPreferenceDialog::resetShowsAndSavesTheDefaultsAtOnce()
{
    open(ownSettings);
    lineEdit(*m_dialog, "csvPath")->setText(u"edited.csv"_s);
    QVERIFY(reset());
    QVERIFY(m_dialog->isVisible());
    QCOMPARE(swatches(*m_dialog), defaultSwatches);
    QCOMPARE(lineTexts(*m_dialog),
             (QStringList{QDir::homePath() + "/Downloads"_L1, BuildInfo::defaultBaseUrl(),
                          u"config/01_MacOS.csv"_s, u","_s, u"data/software/macos/"_s}));
    QCOMPARE(parameter("color", "down"), u"#ffdada"_s);
    QCOMPARE(fileBytes(), PrivateHome::read(u":/resources/default-config.xml"_s));
}

void TestPreferenceDialog::resetThenCancelBringsTheBytesBack()
{
    open(ownSettings);
    const QString storeBefore = m_config->data2XML();
    QVERIFY(reset());
    pressCancel(*m_dialog);
    QCOMPARE(m_dialog->result(), int(QDialog::Rejected));
    QCOMPARE(fileBytes(), ownSettings);
    QCOMPARE(m_config->data2XML(), storeBefore);
    QCOMPARE(
        m_home->logLines().mid(m_home->logLines().size() - 3),
        (QStringList{u"[INFO] PreferenceDialog:Rejected"_s, u"[INFO] Loading configuration..."_s,
                     u"[INFO] PreferenceDialog: reset was cancelled, original configuration "
                     "restored"_s}));
}

void TestPreferenceDialog::resetThenCancelKeepsAFileThatCannotBeWritten()
{
    open(ownSettings);
    QVERIFY(reset());
    const QString defaults = m_config->data2XML();
    QVERIFY(QFile::remove(m_home->configPath()));
    QVERIFY(QDir().mkpath(m_home->configPath()));
    const BoxAnswerer answers(QMessageBox::Ok);
    pressCancel(*m_dialog);
    QCOMPARE(answers.count(), 0);
    QCOMPARE(m_config->data2XML(), defaults);
    QCOMPARE(m_home->logLines().last(), u"[INFO] PreferenceDialog:Rejected"_s);
}

void TestPreferenceDialog::resetThenCancelKeepsTheFileOnAFullDisk()
{
    open(ownSettings);
    QVERIFY(reset());
    const QByteArray reset = fileBytes();
    {
        const SmallFiles fullDisk(10);
        pressCancel(*m_dialog);
    }
    QCOMPARE(m_dialog->result(), int(QDialog::Rejected));
    QCOMPARE(fileBytes(), reset);
}

void TestPreferenceDialog::resetThenCancelWithoutASnapshot_data()
{
    QTest::addColumn<bool>("isFolder");
    QTest::newRow("the file was empty") << false;
    QTest::newRow("the file could not be read") << true;
}

void TestPreferenceDialog::resetThenCancelWithoutASnapshot()
{
    QFETCH(bool, isFolder);
    if (isFolder) {
        QVERIFY(QDir().mkpath(m_home->configPath()));
        openDialog();
        QVERIFY(QDir().rmdir(m_home->configPath()));
        m_home->write(u"Library/Quillmere/config.xml"_s, ownSettings);
    } else {
        open({});
    }
    QVERIFY(reset());
    pressCancel(*m_dialog);
    QCOMPARE(fileBytes(), PrivateHome::read(u":/resources/default-config.xml"_s));
    QCOMPARE(swatches(*m_dialog), defaultSwatches);
    QCOMPARE(parameter("color", "base"), u"#d4d4d4"_s);
    QCOMPARE(m_home->logLines().last(), u"[INFO] PreferenceDialog:Rejected"_s);
}

void TestPreferenceDialog::resetTwiceThenCancelBringsTheBytesBack()
{
    open(ownSettings);
    QVERIFY(reset());
    QVERIFY(reset());
    pressCancel(*m_dialog);
    QCOMPARE(fileBytes(), ownSettings);
}

void TestPreferenceDialog::resetThenCancelBringsADeletedFileBack()
{
    open(ownSettings);
    QVERIFY(reset());
    QVERIFY(QFile::remove(m_home->configPath()));
    pressCancel(*m_dialog);
    QCOMPARE(fileBytes(), ownSettings);
    QCOMPARE(parameter("color", "base"), u"#102030"_s);
}

void TestPreferenceDialog::resetThenOkSavesDefaultsAndLaterEdits()
{
    open(ownSettings);
    QVERIFY(reset());
    lineEdit(*m_dialog, "csvPath")->setText(u"later.csv"_s);
    pressOk(*m_dialog);
    QCOMPARE(fileBytes(),
             savedFile(u"#d4d4d4"_s, u"#ffdada"_s, u"#daffda"_s, u"#dadaff"_s,
                       {QDir::homePath() + "/Downloads"_L1, BuildInfo::defaultBaseUrl(),
                        u"later.csv"_s, u","_s, u"data/software/macos/"_s}));
}

void TestPreferenceDialog::resetStaysAfterEndsThatBypassCancel_data()
{
    QTest::addColumn<Ending>("end");
    QTest::addColumn<int>("result");
    QTest::newRow("Escape") << Ending(pressEscape) << int(QDialog::Rejected);
    QTest::newRow("the window's close button")
        << Ending(pressCloseButton) << int(QDialog::Rejected);
    QTest::newRow("Control+W") << Ending(pressControlW) << int(QDialog::Accepted);
}

void TestPreferenceDialog::resetStaysAfterEndsThatBypassCancel()
{
    QFETCH(Ending, end);
    QFETCH(int, result);
    open(ownSettings);
    QVERIFY(reset());
    QVERIFY(activate());
    lineEdit(*m_dialog, "csvPath")->setText(u"later.csv"_s);
    end(*m_dialog);
    QVERIFY(!m_dialog->isVisible());
    QCOMPARE(m_dialog->result(), result);
    QCOMPARE(fileBytes(), PrivateHome::read(u":/resources/default-config.xml"_s));
    QCOMPARE(parameter("webconfig", "csvPath"), u"config/01_MacOS.csv"_s);
}

void TestPreferenceDialog::failedResetIsToldAndTheDialogStaysOpen()
{
    open(ownSettings);
    QVERIFY(QFile::remove(m_home->configPath()));
    lineEdit(*m_dialog, "csvPath")->setText(u"edited.csv"_s);
    const BoxAnswerer answers(QMessageBox::Ok);
    windowClick(button(*m_dialog, "resetButton"));
    QCOMPARE(answers.titles(), QStringList{u"Error"_s});
    QCOMPARE(answers.texts(), QStringList{u"Failed to restore default configuration."_s});
    QVERIFY(m_dialog->isVisible());
    QCOMPARE(lineEdit(*m_dialog, "csvPath")->text(), u"edited.csv"_s);
    QCOMPARE(swatches(*m_dialog), ownSwatches);
}

void TestPreferenceDialog::failedResetIsNotUndone()
{
    open(ownSettings);
    QVERIFY(QFile::remove(m_home->configPath()));
    const BoxAnswerer answers(QMessageBox::Ok);
    windowClick(button(*m_dialog, "resetButton"));
    pressCancel(*m_dialog);
    QVERIFY(!QFile::exists(m_home->configPath()));
    QCOMPARE(m_home->logLines().last(), u"[INFO] PreferenceDialog:Rejected"_s);
}

void TestPreferenceDialog::focusStartsOnTheFirstTextAndOkIsTheDefault()
{
    open(ownSettings);
    QCOMPARE(QApplication::focusWidget(), lineEdit(*m_dialog, "downloadFolder"));
    for (const auto* each : m_dialog->findChildren<QPushButton*>()) {
        QCOMPARE(each->isDefault(), each == standardButton(*m_dialog, QDialogButtonBox::Ok));
    }
}

void TestPreferenceDialog::enterInALineMeansOk_data()
{
    QTest::addColumn<QString>("key");
    for (const char* key : {"downloadFolder", "baseURL", "csvPath", "csvSeparator", "softPath"}) {
        QTest::newRow(key) << QString::fromLatin1(key);
    }
}

void TestPreferenceDialog::enterInALineMeansOk()
{
    QFETCH(QString, key);
    open(ownSettings);
    QLineEdit* edit = lineEdit(*m_dialog, qPrintable(key));
    edit->setFocus();
    edit->setText(u"typed"_s);
    QTest::keyClick(edit, Qt::Key_Return);
    QCOMPARE(m_dialog->result(), int(QDialog::Accepted));
    QVERIFY(fileBytes().contains("<%1>typed</%1>"_L1.arg(key).toUtf8()));
}

void TestPreferenceDialog::enterOnAFocusedButtonPressesIt()
{
    open(ownSettings);
    const Answering<QColorDialog> chooser([](QColorDialog& dialog) { dialog.reject(); });
    colorButton(*m_dialog, 1)->setFocus();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    QCOMPARE(chooser.count(), 1);
    QVERIFY(activate());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
    QCOMPARE(chooser.count(), 2);
    QVERIFY(m_dialog->isVisible());

    QVERIFY(activate());
    standardButton(*m_dialog, QDialogButtonBox::Cancel)->setFocus();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    QCOMPARE(m_home->logLines().last(), u"[INFO] PreferenceDialog:Rejected"_s);
}

void TestPreferenceDialog::enterInALineMeansOkAfterAButtonHadTheFocus()
{
    open(ownSettings);
    for (const char* name : {"colorButton_0", "browseButton", "resetButton"}) {
        button(*m_dialog, name)->setFocus();
        lineEdit(*m_dialog, "baseURL")->setFocus();
        QVERIFY2(standardButton(*m_dialog, QDialogButtonBox::Ok)->isDefault(), name);
    }
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    QCOMPARE(m_dialog->result(), int(QDialog::Accepted));
}

void TestPreferenceDialog::tabGoesThroughEverythingInReadingOrder()
{
    open(ownSettings);
    colorButton(*m_dialog, 0)->setFocus();
    const QList<QWidget*> walk = tabWalk(Qt::Key_Tab);
    QCOMPARE(widgetNames(walk),
             (QStringList{u"colorButton_0"_s, u"colorButton_2"_s, u"colorButton_1"_s,
                          u"colorButton_3"_s, u"lineEdit_downloadFolder"_s, u"browseButton"_s,
                          u"lineEdit_baseURL"_s, u"lineEdit_csvPath"_s, u"lineEdit_csvSeparator"_s,
                          u"lineEdit_softPath"_s, u"resetButton"_s, u"OK"_s, u"Cancel"_s}));
    // Each is below the one before, or beside it on its right.
    const auto place = [this](const QWidget* widget) {
        return widget->mapTo(m_dialog.get(), widget->rect().center());
    };
    for (int i = 1; i < walk.size(); ++i) {
        const QPoint step = place(walk[i]) - place(walk[i - 1]);
        QVERIFY2(step.y() > 10 || (qAbs(step.y()) <= 10 && step.x() > 0),
                 qPrintable(walk[i]->objectName()));
    }

    QList<QWidget*> back = tabWalk(Qt::Key_Backtab);
    std::reverse(back.begin() + 1, back.end());
    QCOMPARE(back, walk);
}

void TestPreferenceDialog::everyControlHasAName()
{
    open(ownSettings);
    const QStringList names = spokenNames(*m_dialog);
    QCOMPARE(names, (QStringList{u"Base"_s, u"Down"_s, u"Equal"_s, u"Up"_s, u"Download Folder"_s,
                                 u"Choose Download Folder"_s, u"Base URL"_s, u"CSV Path"_s,
                                 u"CSV Separator"_s, u"Software Path"_s, u"Reset to default"_s,
                                 u"OK"_s, u"Cancel"_s}));
}

void TestPreferenceDialog::noStateIsToldByColorAlone()
{
    open(ownSettings);
    const auto spokenColors = [this] {
        QStringList colors;
        for (const SpokenControl& control : spokenControls(*m_dialog)) {
            if (control.widget->styleSheet().contains("background-color"_L1)) {
                colors.append(control.name + u' ' + control.description);
            }
        }
        return colors;
    };
    QCOMPARE(spokenColors(), (QStringList{u"Base #102030"_s, u"Down #405060"_s, u"Equal #708090"_s,
                                          u"Up #a0b0c0"_s}));
    const Answering<QColorDialog> chooser([](QColorDialog& dialog) {
        dialog.setCurrentColor(QColor(1, 2, 3));
        dialog.accept();
    });
    windowClick(colorButton(*m_dialog, 2));
    QCOMPARE(spokenColors(), (QStringList{u"Base #102030"_s, u"Down #010203"_s, u"Equal #708090"_s,
                                          u"Up #a0b0c0"_s}));
}

QTEST_MAIN(TestPreferenceDialog)
#include "tst_preferencedialog.moc"
