#pragma once

#include <QHash>
#include <QString>

#include <optional>

/// Where a record lies: in which file, and where it begins there.
struct RecordPlace
{
    int file = 0;
    qint64 offset = 0;

    // NOLINTNEXTLINE(modernize-use-nullptr): there is none
    [[nodiscard]] auto operator<=>(const RecordPlace& other) const = default;
};

/// Which of several records of a machine counts: the newest, of equally old ones the last.
///
/// Of each machine it keeps some bytes, whatever the length of its name.
class RecordIndex
{
public:
    /// What is known of a machine's records.
    struct Sighting
    {
        qint64 time = 0;
        RecordPlace place;
        int blocks = 0;                   ///< how often that record goes on after another machine's
        std::optional<qint64> changeTime; ///< of the last change to be replayed
    };

    /// Notes a record that is complete at its place. A record seen there again goes on.
    void see(const QString& machine, qint64 time, RecordPlace place);
    /// Notes a change of what an earlier record said.
    void seeChange(const QString& machine, qint64 time);
    [[nodiscard]] std::optional<Sighting> sighting(const QString& machine) const;
    /// Whether the machine's record at @p place is the one that counts, and no change is newer.
    [[nodiscard]] bool counts(const QString& machine, RecordPlace place) const;

private:
    QHash<size_t, Sighting> m_sightings; ///< by the machine name's hash
};
