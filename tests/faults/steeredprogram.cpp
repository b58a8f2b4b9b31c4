#include "faults/steeredprogram.h"

#include <QRegularExpression>
#include <QTest>

#include <algorithm>
#include <csignal>

#ifdef Q_OS_LINUX
#include <sys/prctl.h>
#endif

using namespace Qt::Literals::StringLiterals;

SteeredProgram::SteeredProgram(const QString& program)
    : m_program(program)
    , m_environment(QProcessEnvironment::systemEnvironment())
{
    m_environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    m_environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s); // else Qt would complain
    // Where the tests look for leaks: no list of those that are known.
    m_environment.insert(u"LSAN_OPTIONS"_s,
                         m_environment.value(u"LSAN_OPTIONS"_s) + ":print_suppressions=0"_L1);
    m_environment.insert(u"QT_FORCE_STDERR_LOGGING"_s, u"1"_s);
    for (const QString& name : {u"QT_MESSAGE_PATTERN"_s, u"QT_LOGGING_RULES"_s, u"http_proxy"_s,
                                u"https_proxy"_s, u"all_proxy"_s, u"no_proxy"_s}) {
        m_environment.remove(name);
        m_environment.remove(name.toUpper());
    }
}

SteeredProgram::~SteeredProgram()
{
    if (m_extraction != 0) {
        ::kill(pid_t(m_extraction), SIGKILL);
    }
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished();
    }
}

bool SteeredProgram::start(const QStringList& arguments)
{
    m_process.setProcessEnvironment(m_environment);
#ifdef Q_OS_LINUX
    m_process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
#endif
    m_process.start(m_program, arguments);
    return m_process.waitForStarted(30'000);
}

void SteeredProgram::tell(const QByteArray& command)
{
    m_process.write(command + '\n');
}

QStringList SteeredProgram::windows()
{
    tell("windows");
    return waitForAnswer(u"windows "_s).split(u'|', Qt::SkipEmptyParts);
}

bool SteeredProgram::waitForStoppedExtraction()
{
    m_extraction = waitForAnswer(u"stopped "_s).toLongLong();
    return m_extraction != 0;
}

QString SteeredProgram::waitForAnswer(const QString& start)
{
    QString answer;
    const auto hasCome = [&] {
        readAnswers();
        const auto found =
            std::find_if(m_answers.cbegin(), m_answers.cend(),
                         [&](const QString& line) { return line.startsWith(start); });
        if (found == m_answers.cend()) {
            return m_process.state() == QProcess::NotRunning;
        }
        answer = found->sliced(start.size());
        m_answers.erase(found);
        return true;
    };
    if (!QTest::qWaitFor(hasCome, 30'000)) {
        qWarning("no answer that begins with \"%s\"", qUtf8Printable(start));
    }
    return answer;
}

void SteeredProgram::readAnswers()
{
    m_process.setReadChannel(QProcess::StandardOutput);
    while (m_process.canReadLine()) {
        m_answers.append(QString::fromUtf8(m_process.readLine()).chopped(1));
    }
}

bool SteeredProgram::isRunning()
{
    // Its end is noticed by the event loop.
    QTest::qWait(0);
    return m_process.state() == QProcess::Running;
}

bool SteeredProgram::waitForEnd(int milliseconds)
{
    return QTest::qWaitFor([this] { return m_process.state() == QProcess::NotRunning; },
                           milliseconds);
}

QString SteeredProgram::complaints()
{
    static const QRegularExpression ordinary(
        u"^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d \\[(ERROR|WARNING|INFO|DEBUG)\\] |"
        "^\\t|^This plugin does not support |^$"_s);
    QStringList lines = QString::fromUtf8(m_process.readAllStandardError()).split(u'\n');
    lines.removeIf([](const QString& line) { return ordinary.match(line).hasMatch(); });
    return lines.join(u'\n');
}
