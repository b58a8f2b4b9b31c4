#pragma once

#include "companion/installer/bundlecollector.h"

#include <QByteArray>

#include <functional>
#include <optional>

/// The files, folders and links of an archive, one after another.
class MemberReader
{
public:
    MemberReader() = default;
    virtual ~MemberReader() = default;
    Q_DISABLE_COPY_MOVE(MemberReader)

    /// Goes on to the next member, the first one included; false at the end and on failure.
    [[nodiscard]] virtual bool next() = 0;
    /// What went wrong; empty when nothing did.
    [[nodiscard]] virtual QString error() const = 0;
    /// The member; its path is without a leading "/".
    [[nodiscard]] virtual BundleCollector::Entry entry() const = 0;
    /// The bytes of its content.
    [[nodiscard]] virtual qint64 size() const = 0;
    /// The first bytes of its content, @p most of them.
    [[nodiscard]] virtual QByteArray start(qint64 most) = 0;
};

/// Where a member will lie, as a path from "/"; empty where it does not matter.
using MemberPlace = std::function<QString(const QString& path)>;

/// Hands the members of @p archive to @p collector. Returns why they are not known to the end,
/// empty when they are.
[[nodiscard]] QString collectMembers(MemberReader& archive, const MemberPlace& place,
                                     BundleCollector& collector);

/// The path that @p bytes are as UTF-8, without empty and "." steps; nothing where it has ".."
/// steps or is no UTF-8.
[[nodiscard]] std::optional<QString> memberPath(const char* bytes);
