#pragma once

#include <QRandomGenerator>
#include <QStringList>

/// Random catalogues and names of applications, such that many begin alike and hold what could be
/// mistaken for something else.
class RandomCatalogues
{
public:
    /// Everything random follows from @p seed.
    explicit RandomCatalogues(quint32 seed);

    /// What separates the catalogues' fields.
    [[nodiscard]] QString separator() const { return m_separator; }
    [[nodiscard]] QByteArray catalogue();
    /// @p catalogue with a field of some of its entries changed.
    [[nodiscard]] QByteArray changed(const QByteArray& catalogue);
    [[nodiscard]] QString name();
    [[nodiscard]] QString version();

    [[nodiscard]] QString pick(const QStringList& texts);
    [[nodiscard]] bool isOneIn(int times) { return m_random.bounded(times) == 0; }
    /// From @p lowest up to, but not including, @p end.
    [[nodiscard]] int number(int lowest, int end) { return m_random.bounded(lowest, end); }

private:
    [[nodiscard]] QString field(const QString& value);

    QRandomGenerator m_random;
    QString m_separator;
};

/// An Info.plist that has @p version under @p key.
[[nodiscard]] QByteArray randomInfoPlist(const QString& key, const QString& version);

/// For tests in which the client logs a lot: what it logs does not reach the test's output.
void silenceClientLog();
