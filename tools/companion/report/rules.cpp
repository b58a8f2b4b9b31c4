#include "companion/report/rules.h"

#include "app/buildinfo.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

QList<Rule> lineRules()
{
    return {
        {u"no-entry"_s, Severity::Error, u"No line of the catalogue is a valid entry."_s,
         u"Every user's window stays empty and says that the format is unexpected."_s,
         u"Mend what the other findings name; an entry needs 0 under \"Ignored\"."_s},
        {u"accept-needless"_s, Severity::Warning, u"A finding is accepted that is not there."_s,
         u"Should it come back, nobody would be told."_s,
         u"Remove its line from the list of accepted findings."_s},
        {u"separator"_s, Severity::Error,
         u"The whole file is separated by something else than the configured separator."_s,
         u"The client finds one single column and drops every line."_s,
         u"Separate the fields by the clients' csvSeparator, or name that here by --separator."_s},
        {u"line-ends"_s, Severity::Error, u"The lines end by a carriage return alone."_s,
         u"The client takes the whole file for one line, its header."_s,
         u"Save the file with the line ends of Unix or Windows."_s},
        {u"header-title"_s, Severity::Error,
         u"A title of the header is spelt with blanks, quotes or other letters."_s,
         u"The client uses titles as they stand, so that it does not know this column."_s,
         u"Write exactly Version, Release date, Filename and Ignored."_s},
        {u"header-column"_s, Severity::Error, u"The header lacks a column that the client reads."_s,
         u"Without Ignored the client drops every line; any other column's values are empty."_s,
         u"Add the column to the header and to every line."_s},
        {u"dropped-ignored"_s, Severity::Error, u"\"Ignored\" is neither 0 nor 1."_s,
         u"The client drops the line: no user sees the entry."_s,
         u"Write 0 to offer the entry, 1 to hide it."_s},
        {u"dropped-hidden"_s, Severity::Note, u"\"Ignored\" is 1."_s,
         u"The client drops the line: no user sees the entry."_s,
         u"Nothing is to be done if that is meant; 0 offers the entry."_s},
        {u"dropped-short"_s, Severity::Error, u"The line ends before its \"Ignored\" field."_s,
         u"The client drops the line: no user sees the entry."_s,
         u"Write as many fields as the header has."_s},
        {u"dropped-empty"_s, Severity::Warning, u"The line is empty."_s,
         u"The client drops the line."_s, u"Remove it."_s},
        {u"field-split"_s, Severity::Error, u"A quoted field holds the separator."_s,
         u"The client splits it all the same, and what follows moves one column to the right."_s,
         u"Take the separator out of the field, or use another one for the whole file."_s},
        {u"field-quotes"_s, Severity::Error,
         u"A field holds doubled quotes, or one without a partner."_s,
         u"The client removes one quote at each end of a quoted field and keeps all others, "
         u"doubled "
         "or not."_s,
         u"Take the quotes out of the field."_s},
        {u"encoding"_s, Severity::Error, u"A field has bytes that are no UTF-8."_s,
         u"The client reads another character in their place: a name so written finds no "
         "application, a file so named is not on the server."_s,
         u"Save the catalogue as UTF-8."_s},
    };
}

QList<Rule> nameRules()
{
    const QString product = BuildInfo::productName();
    return {
        {u"name-empty"_s, Severity::Error, u"The entry has no name."_s,
         u"The client shows a row without a name, and may match any installed application to it."_s,
         u"Write the application's name, as its bundle has it without \".app\"."_s},
        {u"name-duplicate"_s, Severity::Error, u"A name is listed twice."_s,
         u"The client shows two rows, both with the later entry's version and file."_s,
         u"Remove one of the two."_s},
        {u"name-prefix"_s, Severity::Warning, u"A name begins another entry's name."_s,
         u"The client matches an entry to installed names that begin with its own. A single one is "
         "taken whatever follows; of several, the newest among those that go on with digits, dots "
         "and blanks alone. So this row may take the other entry's application."_s,
         u"Name both as their bundles are named; where that is so already, see by preview what "
         "users with either application get."_s},
        {u"name-two-spellings"_s, Severity::Error,
         u"Two names differ only in how their accents are composed."_s,
         u"The client shows two rows, at most one of which ever finds its application."_s,
         u"Keep the one that is spelt as the bundle's name is."_s},
        {u"name-decomposed"_s, Severity::Warning,
         u"A name's accents are characters of their own, after their letters."_s,
         u"The client compares names character by character: a bundle that is named with composed "
         "letters is never found."_s,
         u"Write composed letters, unless the bundle's name is decomposed too."_s},
        {u"name-composed"_s, Severity::Note, u"A name has accented letters."_s,
         u"The client compares names character by character: a bundle whose name is decomposed is "
         "never found."_s,
         u"Nothing is to be done if `ls` in /Applications prints the same characters."_s},
        {u"name-blanks"_s, Severity::Error, u"A name has blanks inside its quotes, at an end."_s,
         u"The client keeps them, and finds no application that is named without."_s,
         u"Remove the blanks."_s},
        {u"name-unseen"_s, Severity::Error,
         u"A name holds a character that is not seen, or a blank that is none of the space bar."_s,
         u"The client compares names character by character: no application is found whose name "
         "only looks the same."_s,
         u"Type the name anew."_s},
        {u"name-app"_s, Severity::Error, u"A name ends in \".app\"."_s,
         u"The client compares with the names of bundles without it: the application is never "
         "found."_s,
         u"Remove \".app\"."_s},
        {u"name-slash"_s, Severity::Error, u"A name holds \"/\"."_s,
         u"Where the Finder shows \"/\", the bundle's name on the disk, which the client compares "
         "with, has \":\". The application is never found."_s,
         u"Write \":\" for \"/\"."_s},
        {u"name-known"_s, Severity::Warning, u"A name begins the name of another known product."_s,
         u"The client takes an installed name that begins with the entry's when it is the only "
         u"one: "
         "on a machine with that product alone the row stands for it, with its version."_s,
         u"Nothing in the catalogue prevents that; an entry for the other product shows users "
         u"both. "
         "See by preview what a machine with it gets."_s},
        {u"name-product"_s, Severity::Warning,
         u"A name holds \"%1\" without being it."_s.arg(product),
         u"The client takes the entry for its own update: it asks to restart, and quits when the "
         "installer is opened."_s,
         u"Rename the entry, unless it does install %1."_s.arg(product)},
    };
}

QList<Rule> versionRules()
{
    return {
        {u"version-empty"_s, Severity::Error, u"The entry has no version."_s,
         u"The client takes it for 0: every user who has the application is told that theirs is "
         "newer."_s,
         u"Write the version that the installed application reports."_s},
        {u"version-start"_s, Severity::Error, u"A version does not start with a digit."_s,
         u"The client takes its first part for 0, so that every installed version is newer."_s,
         u"Write the number alone, without \"v\" or a word before it."_s},
        {u"version-number"_s, Severity::Error,
         u"A part of a version is above 2147483647, or has digits of another script."_s,
         u"The client takes that part for 0."_s, u"Shorten the part, or split it by dots."_s},
        {u"version-text"_s, Severity::Warning,
         u"A version holds letters or a bracket, which are not compared."_s,
         u"The client compares the digits that each part begins with, up to the first bracket: "
         "\"1.2b3\" equals \"1.2\"."_s,
         u"Write what tells two releases apart as a number of its own."_s},
        {u"version-same"_s, Severity::Error,
         u"A version differs from the published one in its text alone."_s,
         u"The client compares as many numbers as both versions have, and finds them equal: nobody "
         "whose application says the published version is told of the new one."_s,
         u"The catalogue cannot tell them: a version that is higher than the bundle's own keeps "
         u"the "
         "row red for whoever has installed it. Of your own application, release one that is "
         "higher "
         "in a number that both have; of another's, wait for such a release, or tell your users by "
         "other ways, and accept the finding."_s},
        {u"version-older"_s, Severity::Error, u"A version is older than the published one."_s,
         u"Every user who has the published version is told that theirs is newer than the "
         "catalogue's."_s,
         u"Correct the version, unless a release is to be withdrawn."_s},
        {u"entry-removed"_s, Severity::Error, u"Published entries are gone."_s,
         u"Their rows vanish from every user's window."_s,
         u"Put them back; if they are to go, set their \"Ignored\" to 1, or say by --removes how "
         u"many "
         "may go."_s},
    };
}

QList<Rule> fileRules()
{
    return {
        {u"file-none"_s, Severity::Error, u"The entry names no file."_s,
         u"The client asks the server for the folder itself, and cannot save what comes."_s,
         u"Write the installer's file name under \"Filename\"."_s},
        {u"file-address"_s, Severity::Error, u"A file name holds \"#\", \"?\" or \"%\"."_s,
         u"The client puts the name into the address as it stands: the server is asked for another "
         "file."_s,
         u"Rename the file."_s},
        {u"file-unseen"_s, Severity::Error, u"A file name holds a character that is not seen."_s,
         u"The client asks for a file of exactly that name, and cannot save one with a zero byte."_s,
         u"Rename the file, and type its name anew."_s},
        {u"file-folder"_s, Severity::Error, u"A file name holds \"/\", or is no name but \"..\"."_s,
         u"The client cannot write to a folder that is not there, and refuses to leave its "
         u"download "
         "folder."_s,
         u"Put the file into the folder behind the soft path itself."_s},
        {u"file-long"_s, Severity::Error, u"A file name is longer than 255 bytes."_s,
         u"The client cannot write a file of that name."_s, u"Shorten the name."_s},
        {u"file-ending"_s, Severity::Error, u"A file name has another system's ending, or none."_s,
         u"The client hands the file to the desktop, which opens it with nothing."_s,
         u"Publish a .dmg, a .pkg or a .zip."_s},
        {u"file-ending-unknown"_s, Severity::Warning,
         u"A file name has an ending that not every Mac opens."_s,
         u"The client hands the file to the desktop: where no application for it is installed, "
         "nothing opens."_s,
         u"Publish a .dmg, a .pkg or a .zip, unless every user has what opens the file."_s},
        {u"file-reused"_s, Severity::Error,
         u"A version was raised, and its file name is the published one."_s,
         u"Whoever kept the former file goes on giving it out, and a window that still shows the "
         "former version gets the new file."_s,
         u"Name the file for its version, and copy it beside the former one. If it is the same "
         u"file "
         "and only its version was wrong, accept the finding."_s},
        {u"file-changed"_s, Severity::Warning,
         u"A file is newer than the published catalogue that names it."_s,
         u"If its content changed, whoever kept the former one goes on giving it out."_s,
         u"Give changed files new names. If only its time changed, copy files with their times."_s},
        {u"file-missing"_s, Severity::Error, u"The file is not there, or cannot be read."_s,
         u"The user's download ends with the server's error."_s,
         u"Copy the file there before the catalogue is published."_s},
        {u"file-case"_s, Severity::Error, u"The file is there in another letter case alone."_s,
         u"Web servers tell the two apart: the user's download ends with an error."_s,
         u"Spell both alike."_s},
        {u"file-twice"_s, Severity::Error,
         u"Two files' names differ in the case of their letters alone."_s,
         u"In a user's download folder the second replaces the first, and a server on such a file "
         "system gives out one for both."_s,
         u"Rename one of them."_s},
        {u"file-empty"_s, Severity::Error, u"The file is empty."_s,
         u"The client saves and opens an empty file."_s, u"Copy the file there once more."_s},
        {u"file-type"_s, Severity::Error, u"The file is not what its name's ending says."_s,
         u"The client opens it by its ending, which the system's installer then refuses; a "
         u"\".zip\" "
         "cannot be unpacked."_s,
         u"Fetch the file again; a web page in its place comes from an address that wants a "
         "login."_s},
        {u"file-unnamed"_s, Severity::Warning, u"A file is not named by any entry."_s,
         u"No client ever asks for it."_s, u"Add its entry, or remove the file."_s},
    };
}

QList<Rule> archiveRules() // NOLINT(readability-function-size): a table
{
    return {
        {u"archive-unreadable"_s, Severity::Error, u"The archive's directory cannot be read."_s,
         u"The client's unzip fails, and nothing is opened."_s, u"Make the archive anew."_s},
        {u"archive-fails"_s, Severity::Error, u"unzip would end with another code than 0."_s,
         u"The client takes that for a failure: nothing is opened, and the user is not told."_s,
         u"Make the archive anew, with plain names, deflated, each item once."_s},
        {u"archive-name"_s, Severity::Error,
         u"An item's name is absolute, holds \"..\" or a backslash."_s,
         u"unzip changes the name and warns, which the client takes for a failure: nothing is "
         "opened."_s,
         u"Make the archive inside the folder that holds the items."_s},
        {u"archive-bytes"_s, Severity::Error, u"An item's name is no UTF-8 text."_s,
         u"unzip writes bytes that a Mac's file system refuses, and that no name of the client's "
         u"can "
         "hold: the item is not found."_s,
         u"Rename the item, best with ASCII letters alone, and make the archive anew."_s},
        {u"archive-letters"_s, Severity::Error,
         u"A name with other letters than ASCII's was packed as on Windows or DOS."_s,
         u"unzip takes the letters for those of an old code page, whatever the archive says of "
         u"them, "
         "and writes others or what a Mac's file system refuses: nothing, or another item, is "
         "opened."_s,
         u"Make the archive on a Mac or on Unix, or rename the item with ASCII letters alone."_s},
        {u"archive-accents"_s, Severity::Warning,
         u"An item's name has other letters than ASCII's."_s,
         u"A Mac's unzip writes the bytes as they stand; one that knows Unicode writes them as its "
         "locale has them, or as \"#U00e9\" where the locale has no such letter, or fails."_s,
         u"Name items with ASCII letters alone; else try the archive on a Mac."_s},
        {u"archive-encrypted"_s, Severity::Error, u"An item is encrypted."_s,
         u"The client has no password: unzip fails, and nothing is opened."_s,
         u"Make the archive without a password."_s},
        {u"archive-link"_s, Severity::Error, u"A link stands for the item, or leads out."_s,
         u"The client moves the item out and removes the rest, so that the link leads nowhere."_s,
         u"Put the item itself into the archive, and only links between its own files."_s},
        {u"archive-nothing"_s, Severity::Error, u"The archive holds no item that can be opened."_s,
         u"The client opens nothing, and the user is not told."_s,
         u"Put a .app, .pkg, .mpkg or .dmg into it whose name does not hold \"Uninstall\"."_s},
        {u"archive-processor"_s, Severity::Warning,
         u"One processor's best item is named for the other one."_s,
         u"The client opens it all the same."_s,
         u"Add an item for that processor, or give it an entry of its own."_s},
        {u"archive-tie"_s, Severity::Warning, u"Several items fit a processor equally well."_s,
         u"The client takes the one that lies least deep, of those the first by name."_s,
         u"Leave one of them in the archive, or name them for their processors."_s},
        {u"archive-shadow"_s, Severity::Warning,
         u"An item of \"__MACOSX\" fits as well as the one that is opened."_s,
         u"The client takes the other one, if it does not lie deeper."_s,
         u"Make the archive without resource forks: ditto -c -k --norsrc --keepParent."_s},
        {u"archive-large"_s, Severity::Error,
         u"The archive would have more than 32 GiB unpacked."_s,
         u"The client unpacks it, if the user's disk has room; here it is not tried."_s,
         u"Publish something smaller, or a .dmg."_s},
        {u"archive-long"_s, Severity::Error, u"An item's path is longer than a Mac takes."_s,
         u"The client's unzip fails there, and nothing is opened."_s, u"Shorten it."_s},
        {u"archive-method"_s, Severity::Warning,
         u"An item is compressed otherwise than every unzip knows."_s,
         u"A Mac's unzip may lack the method: then it fails, and nothing is opened."_s,
         u"Compress by deflate alone, or not at all."_s},
        {u"archive-untried"_s, Severity::Warning,
         u"The archive was not tried as the client does."_s,
         u"What is told of it is what its directory promises, which can be wrong."_s,
         u"See that /usr/bin/unzip is there and that the temporary folder (TMPDIR) can be written "
         "to."_s},
        {u"archive-inside"_s, Severity::Error,
         u"The item that is opened lies inside another bundle."_s,
         u"The client tears it out and removes the bundle: what is opened is a part, which does "
         "not work alone. A word of a processor inside the bundle's name lowers its score "
         "(\"PyCharm.app\" holds \"arm\")."_s,
         u"Publish a .pkg or .dmg, or name the archive's item so that it fits every processor."_s},
        {u"archive-case"_s, Severity::Error,
         u"Two items' names differ in the case of their letters alone."_s,
         u"On a Mac's usual file system the second replaces the first."_s,
         u"Rename one of them."_s},
        {u"archive-application"_s, Severity::Warning,
         u"The item that is opened is an application."_s,
         u"The client runs it from the download folder, and does not install it; a Mac runs it "
         "from a read-only copy elsewhere. The row stays as it is."_s,
         u"Publish it as a .pkg or .dmg."_s},
        {u"archive-own-application"_s, Severity::Error,
         u"The update of %1 itself is an application in an archive."_s.arg(
             BuildInfo::productName()),
         u"The client quits and runs the new one from the download folder; the old one stays "
         "installed."_s,
         u"Publish it as a .pkg or .dmg."_s},
        {u"archive-same-item"_s, Severity::Error,
         u"The item is named as the previous release's is."_s,
         u"The client does not replace an item that lies in the download folder: a user who has "
         "kept the previous release opens that one again."_s,
         u"Put the version into the item's name, or publish a .dmg or .pkg with it in its name."_s},
        {u"bundle-version"_s, Severity::Error,
         u"The bundle's own version differs from the catalogue's."_s,
         u"Whoever installs it is told the same again: an update is available, for ever, or theirs "
         "is newer."_s,
         u"Write the bundle's version into the catalogue, or pack the right bundle."_s},
        {u"bundle-word"_s, Severity::Error, u"A bundle's version begins with a word."_s,
         u"The client keeps the word alone and takes it for 0: whoever installs the bundle is told "
         "for ever that an update is available."_s,
         u"Ask the maker for a version that begins with a number. Until then 0 as the catalogue's "
         "version keeps the row green, and tells of no update."_s},
        {u"bundle-start"_s, Severity::Error, u"The application cannot be started."_s,
         u"A Mac says that it is damaged, or that it cannot be opened."_s,
         u"Make the installer from a bundle that starts; an archive on a Mac by ditto -c -k "
         "--keepParent, or by zip -r -y on Unix, which keep execute bits."_s},
        {u"bundle-links"_s, Severity::Error,
         u"A framework in the application has copies where links belong."_s,
         u"The application's signature is invalid: a Mac says that it is damaged."_s,
         u"Make the archive by ditto -c -k --keepParent, or by zip -r -y, which keep links."_s},
        {u"bundle-unread"_s, Severity::Note, u"The bundle's version is not known."_s,
         u"What the client reads from it once it is installed may differ from the catalogue."_s,
         u"Install it on a Mac and look at the row."_s},
        {u"package-damaged"_s, Severity::Error, u"The package is damaged."_s,
         u"The Installer refuses it: nothing is installed."_s,
         u"Fetch it again from where it was made, and compare its size."_s},
        {u"installer-untried"_s, Severity::Warning, u"What the installer brings was not read."_s,
         u"Neither its name nor its version was compared with the line."_s,
         u"See that the temporary folder (TMPDIR) can be written to, and memory is left."_s},
        {u"bundle-list"_s, Severity::Warning, u"The bundle's property list is damaged."_s,
         u"A Mac does not start it, or the client reads no version: the row says for ever that an "
         "update is available."_s,
         u"Make the installer anew from a bundle that starts."_s},
        {u"bundle-name"_s, Severity::Error,
         u"The installer brings no application that the entry stands for."_s,
         u"Whoever installs it is told the same again: that it is not installed."_s,
         u"Name the entry as the bundle is named, or name the right file."_s},
        {u"bundle-processor"_s, Severity::Warning,
         u"A file or an item is named for a processor that its program is not for."_s,
         u"The client chooses by the name; the program does not start there, or is translated."_s,
         u"Name it for the processors that it is for."_s},
        {u"bundle-identifier"_s, Severity::Warning,
         u"The bundle has another identifier than the previous release's."_s,
         u"macOS takes it for another application: settings and permissions do not pass on."_s,
         u"Make sure that it is the same product."_s},
    };
}

} // namespace

const QList<Rule>& catalogueRules()
{
    static const QList<Rule> rules =
        lineRules() + nameRules() + versionRules() + fileRules() + archiveRules();
    return rules;
}

const Rule& catalogueRule(const QString& id)
{
    const QList<Rule>& rules = catalogueRules();
    const auto rule =
        std::find_if(rules.cbegin(), rules.cend(), [&id](const Rule& r) { return r.id == id; });
    Q_ASSERT(rule != rules.cend());
    return *rule;
}
