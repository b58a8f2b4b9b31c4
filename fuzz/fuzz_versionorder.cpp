// The order of versions, by its algebra on three texts: it is reflexive and antisymmetric; "older"
// is transitive (equality is not, as 1.2 equals 1 and 1 equals 1.3); neither what follows the first
// bracket nor blanks around the rest nor further numbers of one side count; and it is the order of
// the numbers themselves, which a second reading takes out of the texts.

#include "fuzzing.h"

#include "profiler/versionorder.h"

#include <algorithm>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

QString withoutBracket(const QString& version)
{
    return version.section(u'(', 0, 0);
}

/// The number that begins at @p at; 0 where none does, or none of 31 bits in ASCII digits.
qint64 numberAt(const QString& text, qsizetype at)
{
    qint64 number = 0;
    for (; at < text.size() && text[at].category() == QChar::Number_DecimalDigit; ++at) {
        const bool isAscii = text[at] >= u'0' && text[at] <= u'9';
        if (!isAscii || number < 0) {
            number = -1;
            continue;
        }
        number = number * 10 + (text[at].unicode() - u'0');
        if (number > 2'147'483'647) {
            number = -1;
        }
    }
    return std::max<qint64>(number, 0);
}

std::vector<qint64> numbersOf(const QString& version)
{
    const QString text = withoutBracket(version);
    qsizetype at = 0;
    while (at < text.size() && text[at].isSpace()) {
        ++at;
    }
    std::vector<qint64> numbers{numberAt(text, at)};
    for (; at < text.size(); ++at) {
        if (text[at] == u'.') {
            numbers.push_back(numberAt(text, at + 1));
        }
    }
    return numbers;
}

int orderOfNumbers(const QString& a, const QString& b)
{
    const std::vector<qint64> numbersOfA = numbersOf(a);
    const std::vector<qint64> numbersOfB = numbersOf(b);
    const auto common = std::ptrdiff_t(std::min(numbersOfA.size(), numbersOfB.size()));
    const auto [inA, inB] =
        std::mismatch(numbersOfA.begin(), numbersOfA.begin() + common, numbersOfB.begin());
    if (inA == numbersOfA.begin() + common) {
        return 0;
    }
    return *inA > *inB ? 1 : -1;
}

void requireAlgebra(const QString& a, const QString& b, const QString& c)
{
    const int order = compareVersions(a, b);
    requireEqual("a version equals itself", compareVersions(a, a), 0);
    requireEqual("the opposite order is the opposite", compareVersions(b, a), -order);
    requireEqual("the order is that of the numbers", order, orderOfNumbers(a, b));
    if (order < 0 && compareVersions(b, c) < 0) {
        requireEqual("older than an older one is older", compareVersions(a, c), -1);
    }
}

void requireIgnored(const QString& a, const QString& b, const QString& c)
{
    const int order = compareVersions(a, b);
    requireEqual("a note in brackets does not count",
                 compareVersions(withoutBracket(a) + u'(' + c, b), order);
    requireEqual("blanks around do not count",
                 compareVersions(u" \t"_s + withoutBracket(a) + u"\u00a0 "_s, b), order);
    if (order != 0) {
        requireEqual("numbers after a difference do not count",
                     compareVersions(withoutBracket(a) + u'.' + c, b), order);
    }
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the name that libFuzzer calls
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    // One text a line, so that inputs can be read; the rest is the third.
    const QString text = QString::fromUtf8(rest(input));
    const QString a = text.section(u'\n', 0, 0);
    const QString b = text.section(u'\n', 1, 1);
    const QString c = text.section(u'\n', 2);
    requireAlgebra(a, b, c);
    requireAlgebra(b, c, a);
    requireIgnored(a, b, c);
    return 0;
}
