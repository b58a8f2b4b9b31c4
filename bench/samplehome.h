#pragma once

#include <QTemporaryDir>

/// A private HOME with a configuration and a download folder, for as long as the object lives.
class SampleHome
{
public:
    SampleHome();
    ~SampleHome();
    Q_DISABLE_COPY_MOVE(SampleHome)

    /// Makes the program fetch its catalogue and installers from @p baseUrl.
    void configure(const QString& baseUrl) const;
    [[nodiscard]] QString downloadFolder() const;

private:
    QTemporaryDir m_folder;
    QByteArray m_formerHome;
};
