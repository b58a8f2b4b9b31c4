#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>

/// The program in a process of its own, without a display, steered by the test; see
/// steeredmain.cpp for what it can be told.
class SteeredProgram
{
public:
    /// @p program is the steered one unless a test wants the program as it is delivered.
    explicit SteeredProgram(const QString& program = QStringLiteral(QUILLMERE_STEERED));
    ~SteeredProgram();
    Q_DISABLE_COPY_MOVE(SteeredProgram)

    /// For the next start(); that of the test at the time of construction, without proxies.
    [[nodiscard]] QProcessEnvironment& environment() { return m_environment; }
    /// False when it cannot be started.
    [[nodiscard]] bool start(const QStringList& arguments = {});
    void tell(const QByteArray& command);
    /// The titles of all visible windows, sorted; none when it does not answer within 30 s.
    [[nodiscard]] QStringList windows();
    /// Tells it to let the next extraction stand still; extraction() is its process then.
    void stopNextExtraction() { tell("stopExtraction"); }
    [[nodiscard]] bool waitForStoppedExtraction();
    [[nodiscard]] qint64 extraction() const { return m_extraction; }

    [[nodiscard]] QProcess& process() { return m_process; }
    [[nodiscard]] bool isRunning();
    [[nodiscard]] bool waitForEnd(int milliseconds = 30'000);
    /// What it wrote to standard error that is neither a line of the log nor said by the platform
    /// plugin of every program.
    [[nodiscard]] QString complaints();

private:
    [[nodiscard]] QString waitForAnswer(const QString& start);
    void readAnswers();

    QString m_program;
    QProcessEnvironment m_environment;
    QProcess m_process;
    QStringList m_answers;
    qint64 m_extraction = 0;
};
