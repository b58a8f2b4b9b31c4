#pragma once

#include <QStringList>
#include <QTest>

#include <algorithm>
#include <type_traits>

/// The line of a test function that calls a helper: the helper's last parameter, which only other
/// helpers give. What fails in the helper is then told at that line.
struct TestLine
{
    const char* file = __builtin_FILE();
    int line = __builtin_LINE();
};

/// The first line in which the two differ, and how many there are; empty when they are equal. Of
/// lists that are not of one length, QCOMPARE tells the lengths alone.
[[nodiscard]] inline QString lineDifference(const QStringList& found, const QStringList& expected)
{
    if (found == expected) {
        return {};
    }
    const auto differing =
        std::mismatch(found.cbegin(), found.cend(), expected.cbegin(), expected.cend());
    const auto line = differing.first - found.cbegin();
    const QString none = QStringLiteral("nothing");
    return QStringLiteral("line %1 of %2 is: %3\n   expected, of %4: %5")
        .arg(QString::number(line + 1), QString::number(found.size()), found.value(line, none),
             QString::number(expected.size()), expected.value(line, none));
}

/// What COMPARE_AT does.
template <typename Found, typename Expected>
bool compareAt(TestLine at, const Found& found, const Expected& expected, const char* foundText,
               const char* expectedText)
{
    if constexpr (std::is_same_v<Found, QStringList> && std::is_same_v<Expected, QStringList>) {
        const QString difference = lineDifference(found, expected);
        return QTest::qVerify(difference.isEmpty(), foundText, qPrintable(difference), at.file,
                              at.line);
    } else {
        return QTest::qCompare(found, expected, foundText, expectedText, at.file, at.line);
    }
}

// QtTest's macros with the test's line in place of their own. Each leaves the helper when it fails.
// Macros, as only those can leave it and know the texts.
// NOLINTBEGIN(cppcoreguidelines-macro-usage)
#define VERIFY2_AT(at, statement, description)                                                     \
    do {                                                                                           \
        const bool holds = static_cast<bool>(statement);                                           \
        if (!QTest::qVerify(holds, #statement, holds ? "" : (description), (at).file,              \
                            (at).line)) {                                                          \
            return;                                                                                \
        }                                                                                          \
    } while (false)
#define VERIFY_AT(at, statement) VERIFY2_AT(at, statement, "")
#define COMPARE_AT(at, found, expected)                                                            \
    do {                                                                                           \
        if (!compareAt(at, found, expected, #found, #expected)) {                                  \
            return;                                                                                \
        }                                                                                          \
    } while (false)
#define WAIT_FOR(condition, timeout)                                                               \
    (void)QTest::qWaitFor([&] { return QTest::currentTestFailed() || (condition); }, timeout)
#define TRY_VERIFY_AT(at, statement, timeout)                                                      \
    do {                                                                                           \
        WAIT_FOR(statement, timeout);                                                              \
        VERIFY_AT(at, statement);                                                                  \
    } while (false)
#define TRY_COMPARE_AT(at, found, expected, timeout)                                               \
    do {                                                                                           \
        WAIT_FOR((found) == (expected), timeout);                                                  \
        COMPARE_AT(at, found, expected);                                                           \
    } while (false)
/// QCOMPARE for lists of lines, which tells the first line that differs.
#define COMPARE_LINES(found, expected)                                                             \
    COMPARE_AT((TestLine{__FILE__, __LINE__}), QStringList(found), QStringList(expected))
// NOLINTEND(cppcoreguidelines-macro-usage)
