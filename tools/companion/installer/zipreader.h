#pragma once

#include "companion/installer/memberreader.h"

#include <memory>

struct zip;

/// A .zip archive as libzip reads it.
class ZipReader : public MemberReader
{
public:
    /// Opens the file at @p path.
    explicit ZipReader(const QString& path);
    ~ZipReader() override;
    Q_DISABLE_COPY_MOVE(ZipReader)

    [[nodiscard]] bool next() override;
    [[nodiscard]] QString error() const override { return m_error; }
    [[nodiscard]] BundleCollector::Entry entry() const override;
    [[nodiscard]] qint64 size() const override;
    [[nodiscard]] QByteArray start(qint64 most) override;
    /// Writes the member's content into the file at @p path; false with error() where that fails.
    [[nodiscard]] bool copyTo(const QString& path);

private:
    struct Closer
    {
        void operator()(zip* archive) const;
    };

    std::unique_ptr<zip, Closer> m_zip;
    quint64 m_count = 0;
    quint64 m_next = 0; ///< the index after the current member's
    QString m_error;
};
