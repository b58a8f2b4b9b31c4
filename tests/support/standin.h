#pragma once

#include <QString>
#include <QTemporaryDir>

/// A folder of scripts that stand first in PATH for as long as the object lives, for the commands
/// that this machine lacks or that must answer as the test says.
class StandIns
{
public:
    StandIns();
    ~StandIns();
    Q_DISABLE_COPY_MOVE(StandIns)

    /// A /bin/sh script named @p command with @p body; replaces an earlier one.
    void add(const QString& command, const QByteArray& body) const;
    /// A script that prints exactly @p output and ends.
    void addPrinting(const QString& command, const QByteArray& output) const;
    /// `plutil -extract KEY raw PATH` for binary and XML property lists. As Apple's, it says on
    /// standard output that a key is lacking, and ends with 1.
    void addPlutil() const;
    /// The script records each call's arguments, one a line, an empty line after each call.
    void addRecording(const QString& command, const QByteArray& output = {}) const;
    /// What addRecording() wrote for @p command.
    [[nodiscard]] QByteArray calls(const QString& command) const;

private:
    QTemporaryDir m_folder;
    QByteArray m_formerPath;
};
