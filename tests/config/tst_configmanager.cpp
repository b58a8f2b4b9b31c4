#include "config/configmanager.h"

#include "app/buildinfo.h"
#include "app/debug.h"

#include "support/limits.h"
#include "support/privatehome.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QResource>
#include <QTest>
#include <QXmlStreamReader>

#include <optional>

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto fileName = "config.xml"_L1;
constexpr auto defaultFile = ":/resources/default-config.xml"_L1;

/// A whole file as the program writes it.
QByteArray saved(const QByteArray& groups)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<root>\n" + groups + "</root>";
}

/// The default settings as the program writes them.
QByteArray savedDefault()
{
    return saved("\t<color>\n"
                 "\t\t<base>#d4d4d4</base>\n"
                 "\t\t<down>#ffdada</down>\n"
                 "\t\t<equal>#daffda</equal>\n"
                 "\t\t<up>#dadaff</up>\n"
                 "\t</color>\n"
                 "\t<localconfig>\n"
                 "\t\t<downloadFolder>~/Downloads</downloadFolder>\n"
                 "\t</localconfig>\n"
                 "\t<webconfig>\n"
                 "\t\t<baseURL>" +
                 BuildInfo::defaultBaseUrl().toUtf8() +
                 "</baseURL>\n"
                 "\t\t<csvPath>config/01_MacOS.csv</csvPath>\n"
                 "\t\t<csvSeparator>,</csvSeparator>\n"
                 "\t\t<softPath>data/software/macos/</softPath>\n"
                 "\t</webconfig>\n");
}

/// The default settings as they are compiled in.
QByteArray compiledInDefault()
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<root>\n"
           "        <color>\n"
           "                <base>#d4d4d4</base>\n"
           "                <down>#ffdada</down>\n"
           "                <equal>#daffda</equal>\n"
           "                <up>#dadaff</up>\n"
           "        </color>\n"
           "        <webconfig>\n"
           "                <baseURL>" +
           BuildInfo::defaultBaseUrl().toUtf8() +
           "</baseURL>\n"
           "                <csvPath>config/01_MacOS.csv</csvPath>\n"
           "                <csvSeparator>,</csvSeparator>\n"
           "                <softPath>data/software/macos/</softPath>\n"
           "        </webconfig>\n"
           "        <localconfig>\n"
           "                <downloadFolder>~/Downloads</downloadFolder>\n"
           "        </localconfig>\n"
           "</root>\n";
}

/// The default catalogue's address of former times.
QString legacyBaseUrl()
{
    return BuildInfo::defaultBaseUrl().replace(u"https://"_s, u"http://"_s);
}

/// All settings in one line: "<group><key>value</key></group>".
QByteArray contentOf(const ConfigManager& config)
{
    const QByteArray text = config.data2XML().toUtf8();
    const qsizetype head = saved({}).size() - 7;
    const QByteArray groups = text.mid(head).chopped(7);
    return text == saved(groups) ? QByteArray(groups).replace('\n', "").replace('\t', "")
                                 : "not a whole file: " + text;
}

/// What an XML reader says is wrong with @p document.
QString xmlErrorOf(const QByteArray& document)
{
    QXmlStreamReader xml(document);
    while (!xml.atEnd()) {
        xml.readNext();
    }
    return xml.errorString();
}

/// Why the file at @p path cannot be read.
QString readErrorOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly | QIODevice::Text) ? QString() : file.errorString();
}

QStringList entriesOf(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                  QDir::NoDotAndDotDot);
}

constexpr QFile::Permissions ownerMayRead = QFile::ReadOwner;
constexpr QFile::Permissions ownerMayWrite = QFile::ReadOwner | QFile::WriteOwner;

/// The file's nine permission bits, without what they mean for the user who asks.
QFile::Permissions permissionBits(const QString& path)
{
    return QFile::permissions(path) & (QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                       QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup |
                                       QFile::ReadOther | QFile::WriteOther | QFile::ExeOther);
}

/// Makes root a user whom permission bits bind, for as long as the object lives; any other user is
/// one already.
class OrdinaryUser
{
public:
    /// The tree at @p folder is handed over to that user.
    explicit OrdinaryUser(const QString& folder)
    {
#ifdef Q_OS_LINUX
        if (geteuid() == 0) {
            handOver(folder);
            QDirIterator files(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                               QDirIterator::Subdirectories);
            while (files.hasNext()) {
                handOver(files.next());
            }
            m_changed = setresuid(nobody, nobody, 0) == 0;
        }
#endif
        m_bound = geteuid() != 0 && QDir(folder).exists();
    }
    ~OrdinaryUser()
    {
#ifdef Q_OS_LINUX
        if (m_changed && setresuid(0, 0, 0) != 0) {
            qFatal("cannot become root again");
        }
#endif
    }
    Q_DISABLE_COPY_MOVE(OrdinaryUser)

    /// False where root cannot become anybody else, or that user cannot reach the folder.
    [[nodiscard]] bool isBound() const
    {
        return m_bound;
    }

private:
#ifdef Q_OS_LINUX
    static constexpr uid_t nobody = 65534;

    static void handOver(const QString& path)
    {
        if (lchown(QFile::encodeName(path).constData(), nobody, gid_t(-1)) != 0) {
            qWarning("cannot hand over %s", qUtf8Printable(path));
        }
    }

    bool m_changed = false;
#endif
    bool m_bound = false;
};

const char* const notBound = "permission bits bind nobody here";

} // namespace

class TestConfigManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    // What is compiled in
    void theDefaultIsStoredAsPlainText();
    void theDefaultHasItsExactForm();
    void hasAStampOfItsOwn();

    // The file's creation
    void theFirstStartCreatesFolderAndFile();
    void theFirstStartLoadsTheDefaults_data();
    void theFirstStartLoadsTheDefaults();
    void theFirstStartTellsWhatItDoes();
    void theCreatedFileIsWritableForItsOwner();
    void anExistingFileIsLoadedAndLeftAsItIs();
    void anExistingFileNeedsNoDefault();
    void withoutADefaultTheStoreStaysEmpty_data();
    void withoutADefaultTheStoreStaysEmpty();
    void aFolderThatCannotBeCreatedIsSilent();
    void aFolderThatMayNotBeWrittenGetsNoFile();
    void anEmptyStoreStaysUsable();
    void aFolderInPlaceOfTheFileCannotBeRead();

    // Reading
    void readsTheStructure_data();
    void readsTheStructure();
    void keepsValuesAsTheyStand_data();
    void keepsValuesAsTheyStand();
    void malformedFilesKeepTheGroupsReadSoFar_data();
    void malformedFilesKeepTheGroupsReadSoFar();
    void loadMergesGroupsAndReplacesTheirNamesakes();
    void loadingTwiceGivesTheSame();
    void aBrokenGroupLeavesItsNamesakeAsItWas();
    void anUnreadableFileChangesNothing();
    void loadTellsThatItLoads();
    void reloadForgetsWhatWasNotSaved();
    void reloadOfAMalformedFileSucceeds();
    void reloadWithoutAFileLeavesNothing();

    // Values
    void unknownNamesHaveNoValue_data();
    void unknownNamesHaveNoValue();
    void setParameterChangesTheMemoryOnly();
    void setParameterNeverAddsAName_data();
    void setParameterNeverAddsAName();
    void setParameterTakesAnEmptyValue();
    void aGroupIsHandedOutAsACopy();
    void clearLeavesTheFile();

    // Writing
    void savesTheDefaultsInOrder();
    void sortsByCodeUnits();
    void writesValuesWithoutEscapes_data();
    void writesValuesWithoutEscapes();
    void whatWasSavedReadsBack_data();
    void whatWasSavedReadsBack();
    void markupInAValueMakesTheFileUnreadable_data();
    void markupInAValueMakesTheFileUnreadable();
    void savesAnEmptyStore();
    void saveReplacesALongerFile();
    void saveTellsWhatItDoes();
    void saveLeavesNoOtherFile();
    void saveKeepsThePermissions_data();
    void saveKeepsThePermissions();
    void saveKeepsALink_data();
    void saveKeepsALink();
    void saveCreatesAFileThatVanished();
    void saveFailsWhereNoFileCanBe_data();
    void saveFailsWhereNoFileCanBe();
    void saveFailsOnAReadOnlyFile();
    void savesAWritableFileInAReadOnlyFolder();
    void aFullDiskCostsNoSettings_data();
    void aFullDiskCostsNoSettings();

    // Migration
    void theLegacyAddressMovesToHttps();
    void otherAddressesStay_data();
    void otherAddressesStay();
    void reloadDoesNotMigrate();

    // Restoring
    void restoreReplacesFileAndData();
    void restoreMakesAWritableFile();
    void restoreTellsWhatItDoes();
    void restoreWithoutAFileChangesNothing();
    void restoreWithoutADefaultKeepsTheData();
    void restoreFailsOnAFolder();
    void restoreDoesNotMigrate();

    // Printing
    void printsEverythingAsOneMessage();
    void printsAnEmptyStore();
    void printsValuesAsTheyStand();

private:
    void writeConfig(const QByteArray& text) const;
    [[nodiscard]] QByteArray configBytes() const;
    /// What the log got since the last call, its times included.
    QByteArray takeLogText();
    /// The lines that the log got since the last call, each without its time.
    QStringList takeLog();
    [[nodiscard]] QString currentFileLine() const;

    // The log lies in a home of its own, so that the tested one is really empty at first.
    std::optional<PrivateHome> m_log;
    std::optional<PrivateHome> m_home;
    qsizetype m_taken = 0; ///< bytes of the log
};

void TestConfigManager::init()
{
    m_log.emplace();
    Debug::init();
    m_taken = PrivateHome::read(m_log->logPath()).size();
    m_home.emplace();
}

void TestConfigManager::cleanup()
{
    m_home.reset();
    m_log.reset();
}

void TestConfigManager::writeConfig(const QByteArray& text) const
{
    m_home->write(u"Library/Quillmere/config.xml"_s, text);
}

QByteArray TestConfigManager::configBytes() const
{
    return PrivateHome::read(m_home->configPath());
}

QByteArray TestConfigManager::takeLogText()
{
    const QByteArray text = PrivateHome::read(m_log->logPath()).mid(m_taken);
    m_taken += text.size();
    return text;
}

QStringList TestConfigManager::takeLog()
{
    QStringList lines = QString::fromUtf8(takeLogText()).split(u'\n', Qt::SkipEmptyParts);
    for (QString& line : lines) {
        line = line.section(u' ', 1);
    }
    return lines;
}

QString TestConfigManager::currentFileLine() const
{
    return u"[INFO] Current config file: "_s + m_home->configPath();
}

void TestConfigManager::theDefaultIsStoredAsPlainText()
{
    const QResource resource(defaultFile);
    QVERIFY(resource.isValid());
    QCOMPARE(resource.compressionAlgorithm(), QResource::NoCompression);
    const QByteArray stored(reinterpret_cast<const char*>(resource.data()),
                            qsizetype(resource.size()));
    QCOMPARE(stored, compiledInDefault());
}

void TestConfigManager::theDefaultHasItsExactForm()
{
    QCOMPARE(PrivateHome::read(defaultFile), compiledInDefault());
}

void TestConfigManager::hasAStampOfItsOwn()
{
    QCOMPARE(ConfigManager::VERSION, u"25.128-1530"_s);
}

void TestConfigManager::theFirstStartCreatesFolderAndFile()
{
    QCOMPARE(entriesOf(m_home->path()), QStringList());
    const ConfigManager config(fileName, defaultFile);
    QCOMPARE(config.filePath(), m_home->path() + u"/Library/Quillmere/config.xml"_s);
    QCOMPARE(configBytes(), compiledInDefault());
    QCOMPARE(entriesOf(m_home->userFolder()), QStringList{fileName});
}

void TestConfigManager::theFirstStartLoadsTheDefaults_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value");

    const auto row = [](const char* group, const char* key, const QString& value) {
        QTest::addRow("%s/%s", group, key)
            << QString::fromUtf8(group) << QString::fromUtf8(key) << value;
    };
    row("color", "base", u"#d4d4d4"_s);
    row("color", "down", u"#ffdada"_s);
    row("color", "equal", u"#daffda"_s);
    row("color", "up", u"#dadaff"_s);
    row("webconfig", "baseURL", BuildInfo::defaultBaseUrl());
    row("webconfig", "csvPath", u"config/01_MacOS.csv"_s);
    row("webconfig", "csvSeparator", u","_s);
    row("webconfig", "softPath", u"data/software/macos/"_s);
    row("localconfig", "downloadFolder", u"~/Downloads"_s);
}

void TestConfigManager::theFirstStartLoadsTheDefaults()
{
    QFETCH(QString, group);
    QFETCH(QString, key);
    QFETCH(QString, value);
    const ConfigManager config(fileName, defaultFile);
    QCOMPARE(config.getParameter(group, key), value);
}

void TestConfigManager::theFirstStartTellsWhatItDoes()
{
    const ConfigManager config(fileName, defaultFile);
    QCOMPARE(takeLog(), (QStringList{currentFileLine(), u"[INFO] Loading configuration..."_s}));
}

void TestConfigManager::theCreatedFileIsWritableForItsOwner()
{
    ConfigManager config(fileName, defaultFile);
    const QFile::Permissions bits = permissionBits(config.filePath());
    QCOMPARE(bits & ownerMayWrite, ownerMayWrite);
    QVERIFY(!bits.testFlag(QFile::WriteOther));
    QVERIFY(config.setParameter(u"color"_s, u"up"_s, u"#010203"_s));
    QVERIFY(config.save());
    QVERIFY(configBytes().contains("<up>#010203</up>"));
}

void TestConfigManager::anExistingFileIsLoadedAndLeftAsItIs()
{
    const QByteArray text = "<root>  <own><key>value</key></own></root>\n\n";
    writeConfig(text);
    QVERIFY(QFile::setPermissions(m_home->configPath(), ownerMayRead));
    const ConfigManager config(fileName, defaultFile);
    QCOMPARE(contentOf(config), QByteArray("<own><key>value</key></own>"));
    QCOMPARE(configBytes(), text);
    QCOMPARE(permissionBits(m_home->configPath()), ownerMayRead);
}

void TestConfigManager::anExistingFileNeedsNoDefault()
{
    writeConfig("<root><own><key>value</key></own></root>");
    ConfigManager config(fileName, QString());
    QCOMPARE(config.filePath(), m_home->configPath());
    QCOMPARE(config.getParameter(u"own"_s, u"key"_s), u"value"_s);
    QVERIFY(config.checkFile());
    QCOMPARE(takeLog(), (QStringList{currentFileLine(), u"[INFO] Loading configuration..."_s,
                                     currentFileLine()}));
}

void TestConfigManager::withoutADefaultTheStoreStaysEmpty_data()
{
    QTest::addColumn<QString>("defaultName");
    QTest::addColumn<QString>("line");
    QTest::newRow("no name") << QString() << u"[WARNING] Default config file is Unknown..."_s;
    QTest::newRow("no such resource")
        << u":/resources/none.xml"_s
        << u"[ERROR] Failed to copy default config: :/resources/none.xml"_s;
    QTest::newRow("no such file, a name with placeholders")
        << u"none/%1 é.xml"_s << u"[ERROR] Failed to copy default config: none/%1 é.xml"_s;
}

void TestConfigManager::withoutADefaultTheStoreStaysEmpty()
{
    QFETCH(QString, defaultName);
    QFETCH(QString, line);
    ConfigManager config(fileName, defaultName);
    QCOMPARE(takeLog(), (QStringList{currentFileLine(), line}));
    QCOMPARE(config.filePath(), QString());
    QCOMPARE(contentOf(config), QByteArray());
    QVERIFY(QFileInfo(m_home->userFolder()).isDir());
    QCOMPARE(entriesOf(m_home->userFolder()), QStringList());
    QVERIFY(!config.checkFile());
}

void TestConfigManager::aFolderThatCannotBeCreatedIsSilent()
{
    m_home->write(u"Library"_s, "in the way");
    ConfigManager config(fileName, QString());
    QCOMPARE(takeLog(), QStringList{currentFileLine()});
    QCOMPARE(config.filePath(), QString());
    QVERIFY(!config.checkFile());
    QCOMPARE(PrivateHome::read(m_home->path() + u"/Library"_s), QByteArray("in the way"));
}

void TestConfigManager::aFolderThatMayNotBeWrittenGetsNoFile()
{
    QVERIFY(QDir().mkpath(m_home->userFolder()));
    QString path;
    {
        const OrdinaryUser user(m_home->path());
        if (!user.isBound()) {
            QSKIP(notBound);
        }
        QVERIFY(QFile::setPermissions(m_home->userFolder(), QFile::ReadOwner | QFile::ExeOwner));
        path = ConfigManager(fileName, defaultFile).filePath();
        QVERIFY(QFile::setPermissions(m_home->userFolder(), ownerMayWrite | QFile::ExeOwner));
    }
    QCOMPARE(path, QString());
    QCOMPARE(takeLog(), (QStringList{currentFileLine(),
                                     u"[ERROR] Failed to copy default config: "_s + defaultFile}));
    QCOMPARE(entriesOf(m_home->userFolder()), QStringList());
}

void TestConfigManager::anEmptyStoreStaysUsable()
{
    ConfigManager config(fileName, QString());
    takeLog();
    QCOMPARE(config.getParameter(u"color"_s, u"base"_s), QString());
    QVERIFY(!config.setParameter(u"color"_s, u"base"_s, u"#000000"_s));
    QVERIFY(config.getParameters(u"color"_s).isEmpty());
    QCOMPARE(takeLog(), QStringList());

    QVERIFY(!config.save());
    QCOMPARE(takeLog(), (QStringList{u"[INFO] Saving..."_s, u"[ERROR] Saving failed"_s}));
    QVERIFY(!config.reloadFromDisk());
    QCOMPARE(takeLog(), (QStringList{u"[INFO] Loading configuration..."_s,
                                     u"[ERROR] Cannot read file "_s + readErrorOf(QString())}));
    QCOMPARE(entriesOf(m_home->userFolder()), QStringList());
}

void TestConfigManager::aFolderInPlaceOfTheFileCannotBeRead()
{
    QVERIFY(QDir().mkpath(m_home->configPath()));
    const ConfigManager config(fileName, defaultFile);
    const QString reason = readErrorOf(m_home->configPath());
    QVERIFY(!reason.isEmpty());
    QCOMPARE(takeLog(), (QStringList{currentFileLine(), u"[INFO] Loading configuration..."_s,
                                     u"[ERROR] Cannot read file "_s + reason}));
    QCOMPARE(config.filePath(), m_home->configPath());
    QCOMPARE(contentOf(config), QByteArray());
}

void TestConfigManager::readsTheStructure_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QByteArray>("content");

    const auto row = [](const char* what, const char* file, const char* content) {
        QTest::newRow(what) << QByteArray(file) << QByteArray(content);
    };
    row("groups with keys, sorted", "<root><b><k>1</k><j>2</j></b><a><k>3</k></a></root>",
        "<a><k>3</k></a><b><j>2</j><k>1</k></b>");
    row("root alone", "<root></root>", "");
    row("no root at all", "<a><k>1</k></a>", "<a><k>1</k></a>");
    row("root inside root", "<root><root><a><k>1</k></a></root></root>", "<a><k>1</k></a>");
    row("a group after an inner root", "<root><root/><a><k>1</k></a></root>", "<a><k>1</k></a>");
    row("root inside a group ends the group", "<root><a><k>1</k><root/><j>2</j></a></root>",
        "<a><k>1</k></a><j></j>");
    row("root in capitals is a group", "<ROOT><a>1</a></ROOT>", "<ROOT><a>1</a></ROOT>");
    row("a key named like its group", "<root><a><a>1</a></a></root>", "<a><a>1</a></a>");
    row("one key name in two groups", "<root><a><k>1</k></a><b><k>2</k></b></root>",
        "<a><k>1</k></a><b><k>2</k></b>");
    row("names that differ in case", "<root><a><k>1</k><K>2</K></a><A><k>3</k></A></root>",
        "<A><k>3</k></A><a><K>2</K><k>1</k></a>");
    row("a key given twice has its later value", "<root><a><k>1</k><k>2</k></a></root>",
        "<a><k>2</k></a>");
    row("a group given twice is its later self",
        "<root><a><k>1</k><j>2</j></a><a><k>3</k></a></root>", "<a><k>3</k></a>");
    row("groups without keys", "<root><a/><b></b></root>", "<a></a><b></b>");
    row("keys without text", "<root><a><k/><j></j></a></root>", "<a><j></j><k></k></a>");
    row("attributes ignored", "<root v=\"2\"><a k=\"x\"><k t='y'>1</k></a></root>",
        "<a><k>1</k></a>");
    row("comments ignored",
        "<!-- a --><root><!-- <b/> --><a><!-- c --><k>1</k></a></root><!-- d -->",
        "<a><k>1</k></a>");
    row("processing instructions ignored", "<root><?x y?><a><?x y?><k>1</k></a></root>",
        "<a><k>1</k></a>");
    row("text between elements ignored", "<root>x<a>y<k>1</k>z</a>w</root>", "<a><k>1</k></a>");
    row("document type ignored", "<!DOCTYPE root><root><a><k>1</k></a></root>", "<a><k>1</k></a>");
    row("line ends of Windows",
        "<?xml version=\"1.0\"?>\r\n<root>\r\n\t<a>\r\n\t\t<k>1</k>\r\n\t</a>\r\n</root>\r\n",
        "<a><k>1</k></a>");
    row("a byte order mark", "\xef\xbb\xbf<root><a><k>é</k></a></root>", "<a><k>é</k></a>");
    row("accents in names", "<root><é><à>1</à></é></root>", "<é><à>1</à></é>");
}

void TestConfigManager::readsTheStructure()
{
    QFETCH(QByteArray, file);
    QFETCH(QByteArray, content);
    writeConfig(file);
    const ConfigManager config(fileName, defaultFile);
    QCOMPARE(contentOf(config), content);
    QCOMPARE(takeLog(), (QStringList{currentFileLine(), u"[INFO] Loading configuration..."_s}));
    QCOMPARE(configBytes(), file);
}

void TestConfigManager::keepsValuesAsTheyStand_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QString>("value");

    const auto row = [](const char* what, const char* xml, const QString& value) {
        QTest::newRow(what) << QByteArray(xml) << value;
    };
    row("blanks at both ends", "  a  b  ", u"  a  b  "_s);
    row("blanks alone", "   ", u"   "_s);
    row("line feeds and tabs", "\n\ta\n", u"\n\ta\n"_s);
    row("line ends of Windows become line feeds", "a\r\nb\r\n", u"a\nb\n"_s);
    row("the escapes of XML", "a &amp;&lt;&gt;&quot;&apos; b", u"a &<>\"' b"_s);
    row("characters by number", "&#233;&#x2192;", u"é→"_s);
    row("a CDATA section", "a<![CDATA[<b> & ]]>c", u"a<b> & c"_s);
    row("a comment inside", "a<!-- b -->c", u"ac"_s);
    row("placeholders", "%1 %2 100%", u"%1 %2 100%"_s);
    row("accents and beyond", "é — 😀", u"é — 😀"_s);
    row("numbers stay text", "007.50", u"007.50"_s);
}

void TestConfigManager::keepsValuesAsTheyStand()
{
    QFETCH(QByteArray, xml);
    QFETCH(QString, value);
    writeConfig("<root><g><k>" + xml + "</k></g></root>");
    const ConfigManager config(fileName, defaultFile);
    QCOMPARE(config.getParameter(u"g"_s, u"k"_s), value);
}

void TestConfigManager::malformedFilesKeepTheGroupsReadSoFar_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("error");

    const auto row = [](const char* what, const char* file, const char* content,
                        const QString& error = {}) {
        QTest::newRow(what) << QByteArray(file) << QByteArray(content)
                            << (error.isEmpty() ? xmlErrorOf(file) : error);
    };
    const QString nested = u"Expected character data."_s;
    row("a key with an element inside", "<root><a><k>1</k></a><b><k>x<y>1</y></k></b></root>",
        "<a><k>1</k></a>", nested);
    row("an element inside after white space",
        "<root><a><k>1</k></a><b><k>\n<y/>\n</k></b><c><k>1</k></c></root>", "<a><k>1</k></a>",
        nested);
    row("a bare ampersand", "<root><a><k>1</k></a><b><k>x & y</k></b></root>", "<a><k>1</k></a>");
    row("a bare less-than sign", "<root><a><k>1</k></a><b><k>x < y</k></b></root>",
        "<a><k>1</k></a>");
    row("a group that is never closed", "<root><a><k>1</k></a><b><k>1</k>", "<a><k>1</k></a>");
    row("root never closed", "<root><a><k>1</k></a>", "<a><k>1</k></a>");
    row("a key closed by another name", "<root><a><k>1</k></a><b><k>1</j></b></root>",
        "<a><k>1</k></a>");
    row("more after the end", "<root><a><k>1</k></a></root><b><k>1</k></b>", "<a><k>1</k></a>");
    row("an unknown entity", "<root><a><k>1</k></a><b><k>&eacute;</k></b></root>",
        "<a><k>1</k></a>");
    row("an empty file", "", "");
    row("no XML", "Quillmere", "");
    row("blanks before the declaration", " <?xml version=\"1.0\"?><root><a/></root>", "");
}

void TestConfigManager::malformedFilesKeepTheGroupsReadSoFar()
{
    QFETCH(QByteArray, file);
    QFETCH(QByteArray, content);
    QFETCH(QString, error);
    QVERIFY(!error.isEmpty());
    writeConfig(file);
    ConfigManager config(fileName, defaultFile);
    QCOMPARE(contentOf(config), content);
    QCOMPARE(takeLog(), (QStringList{currentFileLine(), u"[INFO] Loading configuration..."_s,
                                     u"[ERROR] XML error: "_s + error}));
    QVERIFY(config.load(config.filePath()));
    QCOMPARE(configBytes(), file);
}

void TestConfigManager::loadMergesGroupsAndReplacesTheirNamesakes()
{
    writeConfig("<root><a><k>1</k><j>2</j></a><b><k>3</k></b></root>");
    ConfigManager config(fileName, defaultFile);
    const QString other =
        m_home->write(u"other.xml"_s, "<root><a><k>4</k></a><c><k>5</k></c></root>");
    QVERIFY(config.load(other));
    QCOMPARE(contentOf(config), QByteArray("<a><k>4</k></a><b><k>3</k></b><c><k>5</k></c>"));
    QCOMPARE(config.filePath(), m_home->configPath());
}

void TestConfigManager::loadingTwiceGivesTheSame()
{
    ConfigManager config(fileName, defaultFile);
    QVERIFY(config.load(config.filePath()));
    QCOMPARE(config.data2XML().toUtf8(), savedDefault());
}

void TestConfigManager::aBrokenGroupLeavesItsNamesakeAsItWas()
{
    writeConfig("<root><a><k>1</k></a><b><k>2</k></b></root>");
    ConfigManager config(fileName, defaultFile);
    const QString other =
        m_home->write(u"other.xml"_s, "<root><a><k>3</k></a><b><k>4</k><k>5<x/></k></b></root>");
    QVERIFY(config.load(other));
    QCOMPARE(contentOf(config), QByteArray("<a><k>3</k></a><b><k>2</k></b>"));
}

void TestConfigManager::anUnreadableFileChangesNothing()
{
    ConfigManager config(fileName, defaultFile);
    const QString missing = m_home->path() + u"/none.xml"_s;
    takeLog();
    QVERIFY(!config.load(missing));
    QCOMPARE(takeLog(), (QStringList{u"[INFO] Loading configuration..."_s,
                                     u"[ERROR] Cannot read file "_s + readErrorOf(missing)}));
    QCOMPARE(config.data2XML().toUtf8(), savedDefault());
}

void TestConfigManager::loadTellsThatItLoads()
{
    ConfigManager config(fileName, defaultFile);
    takeLog();
    QVERIFY(config.load(config.filePath()));
    QCOMPARE(takeLog(), QStringList{u"[INFO] Loading configuration..."_s});
}

void TestConfigManager::reloadForgetsWhatWasNotSaved()
{
    writeConfig("<root><a><k>1</k></a><b><k>2</k></b></root>");
    ConfigManager config(fileName, defaultFile);
    QVERIFY(config.setParameter(u"a"_s, u"k"_s, u"changed"_s));
    writeConfig("<root><a><k>3</k></a></root>");
    QVERIFY(config.reloadFromDisk());
    QCOMPARE(contentOf(config), QByteArray("<a><k>3</k></a>"));
}

void TestConfigManager::reloadOfAMalformedFileSucceeds()
{
    writeConfig("<root><a><k>1</k></a></root>");
    ConfigManager config(fileName, defaultFile);
    writeConfig("<root><b><k>2</k></b><a><k>1");
    QVERIFY(config.reloadFromDisk());
    QCOMPARE(contentOf(config), QByteArray("<b><k>2</k></b>"));
}

void TestConfigManager::reloadWithoutAFileLeavesNothing()
{
    ConfigManager config(fileName, defaultFile);
    QVERIFY(QFile::remove(config.filePath()));
    QVERIFY(!config.reloadFromDisk());
    QCOMPARE(contentOf(config), QByteArray());
    QVERIFY2(!QFileInfo::exists(m_home->configPath()), "reading created the file");
}

void TestConfigManager::unknownNamesHaveNoValue_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::newRow("no such group") << u"colour"_s << u"base"_s;
    QTest::newRow("no such key") << u"webconfig"_s << u"csvEncoding"_s;
    QTest::newRow("a key of another group") << u"color"_s << u"baseURL"_s;
    QTest::newRow("a group in capitals") << u"COLOR"_s << u"base"_s;
    QTest::newRow("a key in other letters") << u"webconfig"_s << u"baseUrl"_s;
    QTest::newRow("no names") << QString() << QString();
}

void TestConfigManager::unknownNamesHaveNoValue()
{
    QFETCH(QString, group);
    QFETCH(QString, key);
    const ConfigManager config(fileName, defaultFile);
    takeLog();
    QCOMPARE(config.getParameter(group, key), QString());
    QVERIFY(!config.getParameters(group).contains(key));
    QCOMPARE(takeLog(), QStringList());
    QCOMPARE(config.data2XML().toUtf8(), savedDefault());
}

void TestConfigManager::setParameterChangesTheMemoryOnly()
{
    ConfigManager config(fileName, defaultFile);
    takeLog();
    QVERIFY(config.setParameter(u"color"_s, u"up"_s, u"#010203"_s));
    QCOMPARE(config.getParameter(u"color"_s, u"up"_s), u"#010203"_s);
    QCOMPARE(config.data2XML().toUtf8(), savedDefault().replace("#dadaff", "#010203"));
    QCOMPARE(configBytes(), compiledInDefault());
    QCOMPARE(takeLog(), QStringList());
}

void TestConfigManager::setParameterNeverAddsAName_data()
{
    unknownNamesHaveNoValue_data();
}

void TestConfigManager::setParameterNeverAddsAName()
{
    QFETCH(QString, group);
    QFETCH(QString, key);
    ConfigManager config(fileName, defaultFile);
    takeLog();
    QVERIFY(!config.setParameter(group, key, u"value"_s));
    QCOMPARE(config.getParameter(group, key), QString());
    QCOMPARE(config.data2XML().toUtf8(), savedDefault());
    QCOMPARE(takeLog(), QStringList());
}

void TestConfigManager::setParameterTakesAnEmptyValue()
{
    writeConfig("<root><a><k>1</k></a></root>");
    ConfigManager config(fileName, defaultFile);
    QVERIFY(config.setParameter(u"a"_s, u"k"_s, QString()));
    QVERIFY(config.save());
    QCOMPARE(configBytes(), saved("\t<a>\n\t\t<k></k>\n\t</a>\n"));
    QVERIFY(config.setParameter(u"a"_s, u"k"_s, u"2"_s));
}

void TestConfigManager::aGroupIsHandedOutAsACopy()
{
    const ConfigManager config(fileName, defaultFile);
    QMap<QString, QString> colors = config.getParameters(u"color"_s);
    QCOMPARE(colors, (QMap<QString, QString>{{u"base"_s, u"#d4d4d4"_s},
                                             {u"down"_s, u"#ffdada"_s},
                                             {u"equal"_s, u"#daffda"_s},
                                             {u"up"_s, u"#dadaff"_s}}));
    colors[u"base"_s] = u"changed"_s;
    QCOMPARE(config.getParameter(u"color"_s, u"base"_s), u"#d4d4d4"_s);
    QVERIFY(config.getParameters(u"none"_s).isEmpty());
}

void TestConfigManager::clearLeavesTheFile()
{
    ConfigManager config(fileName, defaultFile);
    config.clear();
    QCOMPARE(contentOf(config), QByteArray());
    QCOMPARE(configBytes(), compiledInDefault());
    QCOMPARE(config.filePath(), m_home->configPath());
}

void TestConfigManager::savesTheDefaultsInOrder()
{
    const ConfigManager config(fileName, defaultFile);
    QCOMPARE(config.data2XML().toUtf8(), savedDefault());
    QVERIFY(config.save());
    QCOMPARE(configBytes(), savedDefault());
}

void TestConfigManager::sortsByCodeUnits()
{
    // Capitals, small letters, accents, then other scripts.
    const QByteArray keys = "<B>1</B><Z>2</Z><_>3</_><a>4</a><a10>5</a10><a2>6</a2><b>7</b>"
                            "<É>8</É><é>9</é><文>10</文><한>11</한>";
    const QByteArray reversed = "<한>11</한><文>10</文><é>9</é><É>8</É><b>7</b><a2>6</a2>"
                                "<a10>5</a10><a>4</a><_>3</_><Z>2</Z><B>1</B>";
    writeConfig("<root><b>" + reversed + "</b><É/><a/><_/><B/></root>");
    const ConfigManager config(fileName, defaultFile);
    QCOMPARE(contentOf(config), "<B></B><_></_><a></a><b>" + keys + "</b><É></É>");
}

void TestConfigManager::writesValuesWithoutEscapes_data()
{
    QTest::addColumn<QString>("value");
    QTest::newRow("ampersands") << u"a & b &amp; c"_s;
    QTest::newRow("tags") << u"<b>bold</b>"_s;
    QTest::newRow("quotes") << u"\"a\" 'b' \\"_s;
    QTest::newRow("the first placeholder") << u"%1"_s;
    QTest::newRow("several placeholders") << u"%2%1%3 %L1 100%"_s;
    QTest::newRow("blanks at both ends") << u"  a  "_s;
    QTest::newRow("line feeds") << u"a\nb\n"_s;
    QTest::newRow("accents and beyond") << u"é — ⤓ → 😀"_s;
    QTest::newRow("nothing") << QString();
}

void TestConfigManager::writesValuesWithoutEscapes()
{
    QFETCH(QString, value);
    writeConfig("<root><g><k>old</k></g></root>");
    ConfigManager config(fileName, defaultFile);
    QVERIFY(config.setParameter(u"g"_s, u"k"_s, value));
    QVERIFY(config.save());
    QCOMPARE(configBytes(), saved("\t<g>\n\t\t<k>" + value.toUtf8() + "</k>\n\t</g>\n"));
}

void TestConfigManager::whatWasSavedReadsBack_data()
{
    QTest::addColumn<QString>("value");
    QTest::newRow("placeholders") << u"%1 %2 100% https://a.example.org/%20"_s;
    QTest::newRow("quotes and greater-than signs") << u"\"a\" 'b' > \\"_s;
    QTest::newRow("blanks at both ends") << u"  a  "_s;
    QTest::newRow("line feeds") << u"a\nb\n"_s;
    QTest::newRow("accents and beyond") << u"é — ⤓ → 😀"_s;
    QTest::newRow("nothing") << u""_s;
}

void TestConfigManager::whatWasSavedReadsBack()
{
    QFETCH(QString, value);
    ConfigManager config(fileName, defaultFile);
    QVERIFY(config.setParameter(u"localconfig"_s, u"downloadFolder"_s, value));
    QVERIFY(config.save());
    const ConfigManager next(fileName, defaultFile);
    QCOMPARE(next.getParameter(u"localconfig"_s, u"downloadFolder"_s), value);
    QCOMPARE(next.data2XML(), config.data2XML());
}

void TestConfigManager::markupInAValueMakesTheFileUnreadable_data()
{
    QTest::addColumn<QString>("value");
    QTest::newRow("an ampersand") << u"x & y"_s;
    QTest::newRow("a less-than sign") << u"x < y"_s;
}

void TestConfigManager::markupInAValueMakesTheFileUnreadable()
{
    QFETCH(QString, value);
    ConfigManager config(fileName, defaultFile);
    QVERIFY(config.setParameter(u"webconfig"_s, u"csvPath"_s, value));
    QVERIFY(config.save());
    QCOMPARE(configBytes(), savedDefault().replace("config/01_MacOS.csv", value.toUtf8()));

    takeLog();
    QVERIFY(config.reloadFromDisk());
    QCOMPARE(takeLog(), (QStringList{u"[INFO] Loading configuration..."_s,
                                     u"[ERROR] XML error: "_s + xmlErrorOf(configBytes())}));
    // The groups that stand before the broken one in the file.
    QCOMPARE(config.getParameter(u"color"_s, u"up"_s), u"#dadaff"_s);
    QCOMPARE(config.getParameter(u"localconfig"_s, u"downloadFolder"_s), u"~/Downloads"_s);
    QVERIFY(config.getParameters(u"webconfig"_s).isEmpty());
}

void TestConfigManager::savesAnEmptyStore()
{
    ConfigManager config(fileName, defaultFile);
    config.clear();
    QVERIFY(config.save());
    QCOMPARE(configBytes(),
             QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<root>\n</root>"));
}

void TestConfigManager::saveReplacesALongerFile()
{
    writeConfig("<root>" + QByteArray(100000, ' ') + "<g><k>1</k></g></root>");
    const ConfigManager config(fileName, defaultFile);
    QVERIFY(config.save());
    QCOMPARE(configBytes(), saved("\t<g>\n\t\t<k>1</k>\n\t</g>\n"));
}

void TestConfigManager::saveTellsWhatItDoes()
{
    const ConfigManager config(fileName, defaultFile);
    takeLog();
    QVERIFY(config.save());
    QCOMPARE(takeLog(), (QStringList{u"[INFO] Saving..."_s, u"[INFO] Saving OK"_s}));
}

void TestConfigManager::saveLeavesNoOtherFile()
{
    const ConfigManager config(fileName, defaultFile);
    QVERIFY(config.save());
    QVERIFY(config.save());
    QCOMPARE(entriesOf(m_home->userFolder()), QStringList{fileName});
}

void TestConfigManager::saveKeepsThePermissions_data()
{
    QTest::addColumn<QFile::Permissions>("bits");
    QTest::newRow("the owner alone") << ownerMayWrite;
    QTest::newRow("the group reads too") << (ownerMayWrite | QFile::ReadGroup);
    QTest::newRow("the group writes too")
        << (ownerMayWrite | QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther);
}

void TestConfigManager::saveKeepsThePermissions()
{
    QFETCH(QFile::Permissions, bits);
    const ConfigManager config(fileName, defaultFile);
    QVERIFY(QFile::setPermissions(config.filePath(), bits));
    QVERIFY(config.save());
    QCOMPARE(permissionBits(config.filePath()), bits);
    QCOMPARE(configBytes(), savedDefault());
}

void TestConfigManager::saveKeepsALink_data()
{
    QTest::addColumn<bool>("relative");
    QTest::newRow("an absolute link") << false;
    QTest::newRow("a relative link") << true;
}

void TestConfigManager::saveKeepsALink()
{
    QFETCH(bool, relative);
    const QString target = m_home->write(u"dotfiles/own.xml"_s, compiledInDefault());
    QVERIFY(QDir().mkpath(m_home->userFolder()));
    QVERIFY(QFile::link(relative ? u"../../dotfiles/own.xml"_s : target, m_home->configPath()));

    ConfigManager config(fileName, defaultFile);
    QVERIFY(config.setParameter(u"color"_s, u"up"_s, u"#010203"_s));
    QVERIFY(config.save());
    QVERIFY(QFileInfo(m_home->configPath()).isSymLink());
    QVERIFY(!QFileInfo(target).isSymLink());
    QCOMPARE(PrivateHome::read(target), savedDefault().replace("#dadaff", "#010203"));
    QCOMPARE(entriesOf(m_home->path() + u"/dotfiles"_s), QStringList{u"own.xml"_s});
    QCOMPARE(entriesOf(m_home->userFolder()), QStringList{fileName});
}

void TestConfigManager::saveCreatesAFileThatVanished()
{
    const ConfigManager config(fileName, defaultFile);
    QVERIFY(QFile::remove(config.filePath()));
    QVERIFY(config.save());
    QCOMPARE(configBytes(), savedDefault());
}

void TestConfigManager::saveFailsWhereNoFileCanBe_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("file");
    QTest::newRow("a folder in place of the file")
        << u"Library/Quillmere/config.xml"_s << QString();
    QTest::newRow("the folder is gone") << u"Library"_s << QString();
    QTest::newRow("a file in place of the folder") << u"Library"_s << u"Library/Quillmere"_s;
    QTest::newRow("a file in place of the folder above") << QString() << u"Library"_s;
}

void TestConfigManager::saveFailsWhereNoFileCanBe()
{
    QFETCH(QString, folder);
    QFETCH(QString, file);
    const ConfigManager config(fileName, defaultFile);
    QVERIFY(QDir(m_home->path() + u"/Library"_s).removeRecursively());
    QVERIFY(folder.isEmpty() || QDir(m_home->path()).mkpath(folder));
    if (!file.isEmpty()) {
        m_home->write(file, "in the way");
    }

    takeLog();
    QVERIFY(!config.save());
    QCOMPARE(takeLog(), (QStringList{u"[INFO] Saving..."_s, u"[ERROR] Saving failed"_s}));
    QCOMPARE(config.data2XML().toUtf8(), savedDefault());
    QVERIFY(!QFileInfo(m_home->configPath()).isFile());
    QCOMPARE(entriesOf(m_home->path() + u'/' + folder),
             file.isEmpty() ? QStringList() : QStringList{QFileInfo(file).fileName()});
}

void TestConfigManager::saveFailsOnAReadOnlyFile()
{
    ConfigManager config(fileName, defaultFile);
    QVERIFY(config.setParameter(u"color"_s, u"up"_s, u"#010203"_s));
    takeLog();
    {
        const OrdinaryUser user(m_home->path());
        if (!user.isBound()) {
            QSKIP(notBound);
        }
        QVERIFY(QFile::setPermissions(config.filePath(), ownerMayRead));
        QVERIFY(!config.save());
    }
    QCOMPARE(takeLog(), (QStringList{u"[INFO] Saving..."_s, u"[ERROR] Saving failed"_s}));
    QCOMPARE(configBytes(), compiledInDefault());
    QCOMPARE(permissionBits(config.filePath()), ownerMayRead);
    QCOMPARE(entriesOf(m_home->userFolder()), QStringList{fileName});
}

void TestConfigManager::savesAWritableFileInAReadOnlyFolder()
{
    const ConfigManager config(fileName, defaultFile);
    takeLog();
    {
        const OrdinaryUser user(m_home->path());
        if (!user.isBound()) {
            QSKIP(notBound);
        }
        QVERIFY(QFile::setPermissions(m_home->userFolder(), QFile::ReadOwner | QFile::ExeOwner));
        const bool done = config.save();
        QVERIFY(QFile::setPermissions(m_home->userFolder(), ownerMayWrite | QFile::ExeOwner));
        QVERIFY(done);
    }
    QCOMPARE(takeLog(), (QStringList{u"[INFO] Saving..."_s, u"[INFO] Saving OK"_s}));
    QCOMPARE(configBytes(), savedDefault());
}

void TestConfigManager::aFullDiskCostsNoSettings_data()
{
    QTest::addColumn<QString>("folder");      // value of "downloadFolder"
    QTest::addColumn<bool>("mayFolderWrite"); // whether files can be made beside the old one
    QTest::addColumn<int>("room");            // bytes that a file can have

    const QString same = u"~/Downloads"_s;
    const QString longer(5'000, u'x');
    QTest::newRow("writable folder") << same << true << 50;
    QTest::newRow("read-only folder") << same << false << 50;
    QTest::newRow("read-only folder, after the first change") << same << false << 300;
    QTest::newRow("read-only folder, shorter than before") << QString() << false << 50;
    QTest::newRow("read-only folder, longer than before") << longer << false << 50;
    QTest::newRow("read-only folder, after the old end") << longer << false << 1'000;
}

void TestConfigManager::aFullDiskCostsNoSettings()
{
    QFETCH(QString, folder);
    QFETCH(bool, mayFolderWrite);
    QFETCH(int, room);
    ConfigManager config(fileName, defaultFile);
    QVERIFY(config.save());
    QVERIFY(config.setParameter(u"localconfig"_s, u"downloadFolder"_s, folder));
    QVERIFY(config.setParameter(u"color"_s, u"base"_s, u"#010203"_s));
    takeLog();
    {
        const OrdinaryUser user(m_home->path());
        if (!user.isBound()) {
            QSKIP(notBound);
        }
        const QFile::Permissions enter = QFile::ReadOwner | QFile::ExeOwner;
        if (!mayFolderWrite) {
            QVERIFY(QFile::setPermissions(m_home->userFolder(), enter));
        }
        bool isSaved = true;
        {
            const SmallFiles fullDisk{rlim_t(room)};
            isSaved = config.save();
        }
        QVERIFY(QFile::setPermissions(m_home->userFolder(), enter | QFile::WriteOwner));
        QVERIFY(!isSaved);
    }
    QCOMPARE(configBytes(), savedDefault());
    QCOMPARE(entriesOf(m_home->userFolder()), QStringList{fileName});
}

void TestConfigManager::theLegacyAddressMovesToHttps()
{
    writeConfig("<root><webconfig><baseURL>" + legacyBaseUrl().toUtf8() +
                "</baseURL><csvPath>a.csv</csvPath></webconfig><own><k>1</k></own></root>");
    const ConfigManager config(fileName, defaultFile);
    QCOMPARE(config.getParameter(u"webconfig"_s, u"baseURL"_s), BuildInfo::defaultBaseUrl());
    QCOMPARE(configBytes(), saved("\t<own>\n\t\t<k>1</k>\n\t</own>\n"
                                  "\t<webconfig>\n\t\t<baseURL>" +
                                  BuildInfo::defaultBaseUrl().toUtf8() +
                                  "</baseURL>\n\t\t<csvPath>a.csv</csvPath>\n\t</webconfig>\n"));
    QCOMPARE(takeLog(),
             (QStringList{currentFileLine(), u"[INFO] Loading configuration..."_s,
                          u"[INFO] ConfigManager - Migrated legacy config value(s), saving..."_s,
                          u"[INFO] Saving..."_s, u"[INFO] Saving OK"_s}));
}

void TestConfigManager::otherAddressesStay_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value");

    const QString legacy = legacyBaseUrl();
    const auto baseUrl = [](const char* what, const QString& value) {
        QTest::newRow(what) << u"webconfig"_s << u"baseURL"_s << value;
    };
    baseUrl("another server's plain HTTP", u"http://intranet.example.org/"_s);
    baseUrl("the current address", BuildInfo::defaultBaseUrl());
    baseUrl("without the final slash", legacy.chopped(1));
    baseUrl("with a longer path", legacy + u"mirror/"_s);
    baseUrl("with blanks", u' ' + legacy);
    baseUrl("with a scheme in capitals", u"HTTP"_s + legacy.mid(4));
    baseUrl("empty", QString());
    QTest::newRow("another key") << u"webconfig"_s << u"softPath"_s << legacy;
    QTest::newRow("another group") << u"localconfig"_s << u"baseURL"_s << legacy;
}

void TestConfigManager::otherAddressesStay()
{
    QFETCH(QString, group);
    QFETCH(QString, key);
    QFETCH(QString, value);
    const QByteArray text = u"<root><%1><%2>%3</%2></%1></root>"_s.arg(group, key, value).toUtf8();
    writeConfig(text);
    const ConfigManager config(fileName, defaultFile);
    QCOMPARE(config.getParameter(group, key), value);
    QCOMPARE(configBytes(), text);
    QCOMPARE(takeLog(), (QStringList{currentFileLine(), u"[INFO] Loading configuration..."_s}));
}

void TestConfigManager::reloadDoesNotMigrate()
{
    ConfigManager config(fileName, defaultFile);
    QVERIFY(config.setParameter(u"webconfig"_s, u"baseURL"_s, legacyBaseUrl()));
    QVERIFY(config.save());
    QVERIFY(config.reloadFromDisk());
    QCOMPARE(config.getParameter(u"webconfig"_s, u"baseURL"_s), legacyBaseUrl());
    config.migrateLegacyValues();
    QCOMPARE(config.getParameter(u"webconfig"_s, u"baseURL"_s), BuildInfo::defaultBaseUrl());
    QCOMPARE(configBytes(), savedDefault());
}

void TestConfigManager::restoreReplacesFileAndData()
{
    writeConfig("<root><color><base>#000000</base></color><own><k>1</k></own></root>");
    ConfigManager config(fileName, defaultFile);
    QVERIFY(config.restoreDefault());
    QCOMPARE(configBytes(), compiledInDefault());
    QCOMPARE(config.data2XML().toUtf8(), savedDefault());
    QCOMPARE(config.filePath(), m_home->configPath());
    QCOMPARE(entriesOf(m_home->userFolder()), QStringList{fileName});
}

void TestConfigManager::restoreMakesAWritableFile()
{
    ConfigManager config(fileName, defaultFile);
    QVERIFY(config.restoreDefault());
    QCOMPARE(permissionBits(config.filePath()) & ownerMayWrite, ownerMayWrite);
}

void TestConfigManager::restoreTellsWhatItDoes()
{
    ConfigManager config(fileName, defaultFile);
    takeLog();
    QVERIFY(config.restoreDefault());
    QCOMPARE(takeLog(), (QStringList{currentFileLine(), u"[INFO] Loading configuration..."_s}));
}

void TestConfigManager::restoreWithoutAFileChangesNothing()
{
    ConfigManager config(fileName, defaultFile);
    QVERIFY(config.setParameter(u"color"_s, u"up"_s, u"#010203"_s));
    QVERIFY(QFile::remove(config.filePath()));
    takeLog();
    QVERIFY(!config.restoreDefault());
    QCOMPARE(config.data2XML().toUtf8(), savedDefault().replace("#dadaff", "#010203"));
    QCOMPARE(entriesOf(m_home->userFolder()), QStringList());
    QCOMPARE(takeLog(), QStringList());
}

void TestConfigManager::restoreWithoutADefaultKeepsTheData()
{
    writeConfig("<root><own><k>1</k></own></root>");
    const QString missing = m_home->path() + u"/default.xml"_s;
    ConfigManager config(fileName, missing);
    takeLog();
    QVERIFY(!config.restoreDefault());
    QCOMPARE(contentOf(config), QByteArray("<own><k>1</k></own>"));
    QVERIFY(!QFileInfo::exists(m_home->configPath()));
    QCOMPARE(takeLog(), (QStringList{currentFileLine(),
                                     u"[ERROR] Failed to copy default config: "_s + missing}));
}

void TestConfigManager::restoreFailsOnAFolder()
{
    ConfigManager config(fileName, defaultFile);
    QVERIFY(QFile::remove(config.filePath()));
    QVERIFY(QDir().mkpath(config.filePath() + u"/inner"_s));
    takeLog();
    QVERIFY(!config.restoreDefault());
    QCOMPARE(config.data2XML().toUtf8(), savedDefault());
    QVERIFY(QFileInfo(m_home->configPath()).isDir());
    QCOMPARE(takeLog(), QStringList());
}

void TestConfigManager::restoreDoesNotMigrate()
{
    const QByteArray text =
        "<root><webconfig><baseURL>" + legacyBaseUrl().toUtf8() + "</baseURL></webconfig></root>";
    ConfigManager config(fileName, m_home->write(u"default.xml"_s, text));
    QCOMPARE(config.getParameter(u"webconfig"_s, u"baseURL"_s), BuildInfo::defaultBaseUrl());
    QVERIFY(config.restoreDefault());
    QCOMPARE(config.getParameter(u"webconfig"_s, u"baseURL"_s), legacyBaseUrl());
    QCOMPARE(configBytes(), text);
}

void TestConfigManager::printsEverythingAsOneMessage()
{
    ConfigManager config(fileName, defaultFile);
    takeLog();
    config.print();
    // One time stamp of 20 characters, so one message.
    QCOMPARE(takeLogText().mid(20), "[INFO] Current configuration's content:\n"
                                    "\tcolor:\n"
                                    "\t    \"base\" => \"#d4d4d4\"\n"
                                    "\t    \"down\" => \"#ffdada\"\n"
                                    "\t    \"equal\" => \"#daffda\"\n"
                                    "\t    \"up\" => \"#dadaff\"\n"
                                    "\tlocalconfig:\n"
                                    "\t    \"downloadFolder\" => \"~/Downloads\"\n"
                                    "\twebconfig:\n"
                                    "\t    \"baseURL\" => \"" +
                                        BuildInfo::defaultBaseUrl().toUtf8() +
                                        "\"\n"
                                        "\t    \"csvPath\" => \"config/01_MacOS.csv\"\n"
                                        "\t    \"csvSeparator\" => \",\"\n"
                                        "\t    \"softPath\" => \"data/software/macos/\"\n");
}

void TestConfigManager::printsAnEmptyStore()
{
    ConfigManager config(fileName, defaultFile);
    config.clear();
    takeLog();
    config.print();
    QCOMPARE(takeLog(), QStringList{u"[INFO] Current configuration's content:"_s});
}

void TestConfigManager::printsValuesAsTheyStand()
{
    writeConfig("<root><b/><a><k>%2 \"%1\" &amp; é</k></a></root>");
    ConfigManager config(fileName, defaultFile);
    takeLog();
    config.print();
    QCOMPARE(takeLogText().mid(20), QByteArray("[INFO] Current configuration's content:\n"
                                               "\ta:\n"
                                               "\t    \"k\" => \"%2 \"%1\" & é\"\n"
                                               "\tb:\n"));
}

QTEST_GUILESS_MAIN(TestConfigManager)
#include "tst_configmanager.moc"
