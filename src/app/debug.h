#pragma once

#include <QStringList>
#include <QTextStream>

class QFile;

/// One line of the log, built by streaming into it and written when it goes out of scope:
///
///     Debug(Debug::Info) << "Download - Saved: " << path;
///
/// Every line goes to Qt's debug output; ERROR, WARNING and INFO lines go to the log file too,
/// which holds only the current run. Literals are UTF-8. Lines may be built and written on any
/// thread.
class Debug
{
public:
    enum Level
    {
        Error,
        Warning,
        Info,
        Verbose
    };

    static const QStringList LEVEL; ///< names by level: "ERROR", "WARNING", "INFO", "DEBUG"
    static const QString VERSION;   ///< a stamp of its own, not the program's version

    /// Creates the log's folder, empties the log file and writes its header. Until then, and when
    /// the file cannot be opened, lines reach the console only. Called once, before other threads
    /// log.
    static void init();
    /// The log file's full path, also when it could not be opened; empty before init().
    [[nodiscard]] static QString logFilePath();

    /// Starts a line with the time and the level's name; @p level is 0 to 3.
    explicit Debug(int level);
    ~Debug();
    Q_DISABLE_COPY_MOVE(Debug)

    /// Appends whatever a QTextStream takes.
    template <typename T>
    Debug& operator<<(const T& value)
    {
        m_stream << value;
        return *this;
    }

private:
    // Not freed at the process's end, while which a line may still be written; only init() does.
    static QFile* s_logFile;
    static QTextStream* s_logStream; ///< null unless the file was opened

    int m_level;
    QString m_text;
    QTextStream m_stream; ///< writes into m_text
};
