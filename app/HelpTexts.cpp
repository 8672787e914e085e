#include "app/HelpTexts.h"

namespace quillorn {

namespace {

constexpr std::string_view programHelp =
    R"(Quillorn Folivane composes PDF files out of pages taken from others.

Usage:
  quillorn-folivane compose [OPTION]... --group NAME.pdf FILE [FILE OPTION]... ...
  quillorn-folivane convert [OPTION]... FILE...
  quillorn-folivane info [OPTION]... FILE...
  quillorn-folivane --version
  quillorn-folivane --help

Commands:
  compose    write PDF files made of pages of the given PDFs, images and documents
  convert    turn each file into a PDF of its own
  info       tell about PDF files: pages, size, locks, permissions, page labels

"quillorn-folivane COMMAND --help" tells more.
)";

constexpr std::string_view composeHelp =
    R"(Writes PDF files made of pages of other files.

Usage:
  quillorn-folivane compose [OPTION]...
      --group NAME.pdf FILE [FILE OPTION]... [FILE [FILE OPTION]...]...
      [--group NAME.pdf FILE ...]...

Each --group becomes one PDF of that name in the output folder; a file of that
name is replaced. Its pages are those of its FILEs in the order given. A FILE may
be named any number of times, and may be the very file that is replaced.

A FILE is a PDF, an image, a web page, a text or a Word document, known by its extension,
or by its content when it has none. An image (JPEG, PNG, TIFF, GIF, BMP, JPEG 2000, WebP, HEIC, AVIF, PSD,
TGA, ICO, ICNS, SVG) becomes one page of 595 x 800 points; of several in one file the
first counts. A web page (.html, .htm, .webarchive) is printed on the paper of your
language's custom; it sees the files of its own folder. Texts and documents (.txt, .rtf,
.rtfd, .doc, .docx) are laid out on that paper, too, 90 points from its edges.

Options:
  --output-folder DIR    write into DIR, which is made if it is missing. Without it,
                         the folder chosen in the program, at first
                         "Movies/Quillorn Folivane" in the home folder
  --keep-going           write what can be written although a FILE was refused
  --verify               read every written PDF back and check its pages, and that every
                         link and outline entry leads to one of them
  --flat-outline         merge the outlines of several files without an entry for
                         each file over its own ones
  --allow-remote         let web pages fetch pictures and styles from other machines, as
                         the preference AllowRemote=true does; what does not come soon
                         is left out
  --keep-page-setup      let texts and documents keep their own paper, margins, headers
                         and footers, as the preference KeepPageSetup=true does
  --json                 report on standard output as one JSON object
  --quiet                say nothing on standard output unless --json asks for it,
                         and show no progress
  --help                 show this text

File options, behind the FILE that they are for, each at most once:
  --pages RANGE          take these pages only, in this order:
                           3        page 3            1,5,9    pages 1, 5 and 9
                           2-6      pages 2 to 6      6-2      the same backwards
                           z        the last page     r2       the last but one
                           1-z:odd  every odd one     1-z:even every even one
  --rotate DEGREES       turn the pages clockwise by a multiple of 90; negative
                         numbers turn them the other way
  --password TEXT        the password of a FILE that is locked, or that does not
                         allow copying and printing. Others may see TEXT in the
                         system's list of programs while this one runs
  --password-file F      the same, taken from the first line of the file F

An option's value may also follow an equals sign (--pages=2-6). After a lone -- every
word is a FILE of the current group. ./--pages names a FILE that looks like an option.

Exit status:
  0    everything was written
  2    the command line makes no sense; nothing was written
  3    a FILE was refused; nothing was written, or with --keep-going only the rest
  4    a PDF could not be written, or did not pass --verify; the others were written
  130  interrupted, as by Ctrl-C (143 when asked to terminate)
All FILEs are checked before anything is written, and a PDF is either written whole or
not at all.

Examples:
  quillorn-folivane compose --output-folder out \
      --group Booklet.pdf cover.pdf text.pdf --pages 1-12 \
      --group Plans.pdf plan.pdf --rotate 90
  quillorn-folivane compose --group Open.pdf locked.pdf --password-file key.txt
)";

constexpr std::string_view convertHelp =
    R"(Turns each file into a PDF of its own.

Usage:
  quillorn-folivane convert [OPTION]... FILE...

Each FILE becomes a PDF of its name: letter.docx becomes letter.pdf; a file of that
name is replaced. A FILE is an image, a web page, a text or a document as for compose;
a PDF is copied as it is. Files are written one after the other.

Options:
  --output-folder DIR    write into DIR, which is made if it is missing. Without it,
                         the folder chosen in the program, at first
                         "Movies/Quillorn Folivane" in the home folder
  --keep-going           go on with the others when a FILE is refused
  --allow-remote         let web pages fetch pictures and styles from other machines, as
                         the preference AllowRemote=true does; what does not come soon
                         is left out
  --keep-page-setup      let texts and documents keep their own paper, margins, headers
                         and footers, as the preference KeepPageSetup=true does
  --json                 report on standard output as one JSON object
  --quiet                say nothing on standard output unless --json asks for it,
                         and show no progress
  --help                 show this text

After a lone -- every word is a FILE.

Exit status:
  0    everything was written
  2    the command line makes no sense, or two FILEs would get one name; nothing was
       written
  3    a FILE was refused; those before it were written, with --keep-going those behind
       it, too
  4    a PDF could not be written; the others were
  130  interrupted, as by Ctrl-C (143 when asked to terminate)
A PDF is either written whole or not at all.

Example:
  quillorn-folivane convert --output-folder out letter.docx notes.txt photo.jpg
)";

constexpr std::string_view infoHelp =
    R"(Tells about PDF files.

Usage:
  quillorn-folivane info [OPTION]... FILE...

Tells of each FILE how many pages and bytes it has, its PDF version, whether it is
encrypted or locked and what it allows, the size of its first page as it is seen, its
page labels (the page numbers that it gives itself), and what is damaged about it.

Options:
  --json               report on standard output as one JSON object
  --password TEXT      open encrypted FILEs with this password. Others may see TEXT in
                       the system's list of programs while this one runs
  --password-file F    the same, taken from the first line of the file F
  --count              tell just the number of pages, as the FILE states it: a line for
                       each FILE, with its name when there are several
  --help               show this text

After a lone -- every word is a FILE. A locked FILE without a password is told about as
far as that goes.

Exit status:
  0    every FILE was told about
  2    the command line makes no sense
  3    a FILE is no PDF or cannot be opened; the others were told about
)";

} // namespace

std::string_view helpText(HelpTopic topic) {
    switch (topic) {
    case HelpTopic::compose:
        return composeHelp;
    case HelpTopic::convert:
        return convertHelp;
    case HelpTopic::info:
        return infoHelp;
    case HelpTopic::program:
        break;
    }
    return programHelp;
}

std::string_view versionText() {
    return "quillorn-folivane " QUILLORN_VERSION "\n";
}

std::string_view helpHint(HelpTopic topic) {
    switch (topic) {
    case HelpTopic::compose:
        return R"(Try "quillorn-folivane compose --help".)";
    case HelpTopic::convert:
        return R"(Try "quillorn-folivane convert --help".)";
    case HelpTopic::info:
        return R"(Try "quillorn-folivane info --help".)";
    case HelpTopic::program:
        break;
    }
    return R"(Try "quillorn-folivane --help".)";
}

} // namespace quillorn
