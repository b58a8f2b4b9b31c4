#pragma once

#include <QByteArray>

/// An XML property list of a dictionary with the elements @p content.
[[nodiscard]] QByteArray xmlPlist(const QByteArray& content);
/// An XML property list with the value of "CFBundleShortVersionString", markup as it stands.
[[nodiscard]] QByteArray versionPlist(const QByteArray& version);
/// A binary property list of a dictionary with one text value; both texts are short and ASCII.
[[nodiscard]] QByteArray binaryPlist(const QByteArray& key, const QByteArray& value);
