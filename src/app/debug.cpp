#include "app/debug.h"

#include "app/buildinfo.h"
#include "app/userfolder.h"

#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QMutex>

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

using namespace Qt::Literals::StringLiterals;

const QStringList Debug::LEVEL = {u"ERROR"_s, u"WARNING"_s, u"INFO"_s, u"DEBUG"_s};
const QString Debug::VERSION = u"25.128-1530"_s;

QFile* Debug::s_logFile = nullptr;
QTextStream* Debug::s_logStream = nullptr;

namespace {

// Guards the shared file and stream; not held while the console is written.
Q_CONSTINIT QBasicMutex logFileMutex;

/// The file ends within a line that could not be written whole; guarded likewise.
bool isLineTorn = false;

/// Writes @p text, a whole line or more, in one piece. That it cannot is ignored: the text is lost,
/// at a full disk but for its beginning, and the next one is tried anew.
void writeText(QTextStream& stream, QString text)
{
    if (isLineTorn) {
        text.prepend(u'\n');
    }
    const qint64 begin = stream.device()->pos();
    stream << text;
    stream.flush();
    const bool isWritten = stream.status() == QTextStream::Ok;
    isLineTorn = !isWritten && (isLineTorn || stream.device()->pos() != begin);
    // Else the stream would keep every later text, and write none.
    stream.resetStatus();
}

/// The local time to the second, as a text of the calling thread. Kept from line to line: making it
/// is a third of a line's cost, and many lines are written in one second.
QStringView timeStamp()
{
    // Trivially destructible: a line may still be written while the thread ends.
    thread_local qint64 second = -1;
    thread_local std::array<char16_t, 19> text;
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    if (now != second) {
        const QString stamp =
            QDateTime::fromSecsSinceEpoch(now).toString(u"yyyy-MM-dd'T'HH:mm:ss"_s);
        std::copy_n(stamp.utf16(), std::min(stamp.size(), qsizetype(text.size())), text.begin());
        second = now;
    }
    return QStringView(text.data(), qsizetype(text.size()));
}

} // namespace

void Debug::init()
{
    const QMutexLocker locker(&logFileMutex);
    // A second call starts afresh; the old stream goes before the file that it writes to.
    const std::unique_ptr<QFile> oldFile(std::exchange(s_logFile, nullptr));
    const std::unique_ptr<QTextStream> oldStream(std::exchange(s_logStream, nullptr));

    const QString folder = userFolder();
    QDir().mkpath(folder);
    s_logFile = new QFile(folder + "quillmere.log"_L1);
    // Unbuffered, as each line is flushed anyway: a buffer would keep what a full disk refuses.
    if (!s_logFile->open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text |
                         QIODevice::Unbuffered)) {
        return;
    }
    s_logStream = new QTextStream(s_logFile);
    isLineTorn = false;
    writeText(*s_logStream, u"=== %1 %2 — %3 ===\n"_s.arg(
                                BuildInfo::productName(), BuildInfo::productVersion(),
                                QDateTime::currentDateTime().toString(u"yyyy-MM-dd HH:mm:ss"_s)));
}

QString Debug::logFilePath()
{
    const QMutexLocker locker(&logFileMutex);
    return s_logFile ? s_logFile->fileName() : QString();
}

Debug::Debug(int level) : m_level(level), m_stream(&m_text, QIODevice::ReadWrite)
{
    m_text.reserve(128);
    m_stream << timeStamp() << " [" << LEVEL[level] << "] ";
}

Debug::~Debug()
{
    m_stream.flush();
    qDebug().noquote() << m_text;
    const QMutexLocker locker(&logFileMutex);
    if (s_logStream && m_level <= Info) {
        writeText(*s_logStream, m_text + u'\n');
    }
}
