#include "companion/archive/unzipresult.h"

#include <QHash>

using namespace Qt::Literals::StringLiterals;

QString unzipMeaning(int exitCode)
{
    static const QHash<int, QString> meanings = {
        {0, u"all went well"_s},
        {1, u"it unpacked the archive, but warned of something in it"_s},
        {2, u"the archive's format is wrong somewhere"_s},
        {3, u"the archive is damaged, often because the transfer broke off"_s},
        {4, u"memory ran out"_s},
        {5, u"memory ran out, or no password could be asked for"_s},
        {6, u"memory ran out"_s},
        {7, u"memory ran out"_s},
        {8, u"memory ran out"_s},
        {9, u"the file is no ZIP archive, or it is missing"_s},
        {10, u"it does not know the options that it was given"_s},
        {11, u"the archive holds no file"_s},
        {12, u"the archive's files overlap, as in one that is made to fill a disk"_s},
        {50, u"the disk is full"_s},
        {51, u"the archive ends too early"_s},
        {80, u"it was interrupted"_s},
        {81, u"the archive is compressed or encrypted by a method that unzip does not know"_s},
        {82, u"the archive is encrypted, and there is no password"_s},
    };
    return meanings.value(exitCode, u"it was ended from outside, or means something unknown"_s);
}
