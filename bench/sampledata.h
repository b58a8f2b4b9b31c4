#pragma once

#include <QTemporaryDir>

/// The name of the catalogue's entry @p index, from 0.
[[nodiscard]] QString entryName(int index);

/// A catalogue of @p entries applications, all offered, in seven columns. Every other one is
/// installed on a BenchMachine that has enough applications: older, equal and newer by turns.
[[nodiscard]] QByteArray sampleCatalogue(int entries);

/// Application bundles, and a `find` first in PATH that finds them in place of the machine's own,
/// for as long as the object lives.
class BenchMachine
{
public:
    /// @p applications of which as many as can be stand for an entry of sampleCatalogue(@p
    /// entries).
    BenchMachine(int applications, int entries);
    ~BenchMachine();
    Q_DISABLE_COPY_MOVE(BenchMachine)

    /// The folder that holds the bundles.
    [[nodiscard]] QString folder() const;
    [[nodiscard]] QStringList names() const { return m_names; }
    /// The property lists of all bundles, by names().
    [[nodiscard]] QStringList plists() const;

private:
    void install(const QString& name, const QString& version);

    QTemporaryDir m_folder;
    QStringList m_names;
    QByteArray m_formerPath;
};
