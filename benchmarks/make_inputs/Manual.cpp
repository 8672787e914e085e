#include "Manual.h"

#include "PageTree.h"
#include "Prose.h"
#include "Random.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <vector>

namespace bench {

namespace {

constexpr int frontMatterPages = 16;
constexpr int appendixPages = 40;
constexpr int pagesPerFigure = 20;
constexpr int figureWidth = 240; // pixels
constexpr int figureHeight = 160;
constexpr std::size_t fontProgramBytes = 60'000;
constexpr int embeddedFonts = 3;
constexpr int leaf = 64; // names in one leaf of the name tree

constexpr int bodyLeft = 72; // points
constexpr int bodyTop = 720;
constexpr int bodyWidth = 450;
constexpr int bodyLeading = 13;
constexpr int bodyLines = 42;

/// Noise behind the first bytes of a TrueType font, so that viewers take it for one until they use
/// it.
std::string fontProgram(Random& random) {
    std::string result("\0\1\0\0", 4);
    while (result.size() < fontProgramBytes) {
        result.push_back(static_cast<char>(random.below(256)));
    }
    return result;
}

/// A grey ramp with grain, about as hard to compress as a small screenshot.
std::string figurePixels(Random& random) {
    std::string pixels;
    for (int y = 0; y < figureHeight; ++y) {
        for (int x = 0; x < figureWidth; ++x) {
            pixels.push_back(static_cast<char>(40 + (x + y) / 4 + random.below(4)));
        }
    }
    return pixels;
}

class ManualWriter {
public:
    ManualWriter(const std::filesystem::path& path, const ManualPlan& plan)
        : plan_(plan),
          random_(plan.seed),
          prose_(random_),
          file_(path, plan.layout),
          tree_(file_, plan.pages, plan.pageTreeFanOut) {}

    void write() {
        writeFonts();
        for (int i = 0; i < plan_.pages; ++i) {
            writePage(i);
        }
        tree_.write(file_, plan_.resources == ResourcePlace::treeRoot
                               ? "/MediaBox [0 0 595 842] /Resources " + resources("")
                               : std::string());
        const int outline = writeOutline();
        std::string catalog = "<< /Type /Catalog /PageMode /UseOutlines /Pages " +
                              reference(tree_.root()) + " /Outlines " + reference(outline) +
                              " /PageLabels " + reference(writePageLabels());
        if (plan_.targets == TargetStyle::named) {
            catalog += " /Names << /Dests " + reference(writeNameTree()) + " >>";
        }
        const int catalogNumber = file_.add(catalog + " >>");
        const int info = file_.add("<< /Title " + literal(plan_.title) +
                                   " /Author (An invented author)"
                                   " /CreationDate (D:20240101120000Z) >>");
        file_.finish(catalogNumber, info);
    }

private:
    void writeFonts() {
        for (const char* name : {"Times-Roman", "Helvetica-Bold", "Courier", "Times-Italic"}) {
            addFont(file_.add(std::string("<< /Type /Font /Subtype /Type1 /BaseFont /") + name +
                              " /Encoding /WinAnsiEncoding >>"));
        }
        for (int i = 0; i < embeddedFonts; ++i) {
            const std::string name = std::string("/BENCH") + static_cast<char>('A' + i) + "+Noise";
            const int program = file_.reserve();
            file_.putFlateStream(program, "/Length1 " + std::to_string(fontProgramBytes),
                                 fontProgram(random_));
            const int descriptor = file_.add(
                "<< /Type /FontDescriptor /FontName " + name +
                " /Flags 4 /FontBBox [0 -200 1000 800] /ItalicAngle 0 /Ascent 800 /Descent -200"
                " /CapHeight 700 /StemV 80 /FontFile2 " +
                reference(program) + " >>");
            std::string widths = "[";
            for (int code = 32; code < 127; ++code) {
                widths += std::to_string(random_.between(250, 800)) + ' ';
            }
            const int widthsNumber = file_.add(widths + "]");
            addFont(file_.add("<< /Type /Font /Subtype /TrueType /BaseFont " + name +
                              " /FirstChar 32 /LastChar 126 /Widths " + reference(widthsNumber) +
                              " /FontDescriptor " + reference(descriptor) + " >>"));
        }
    }

    void addFont(int number) {
        fonts_ += "/F" + std::to_string(++fontCount_) + ' ' + reference(number) + ' ';
    }

    std::string resources(const std::string& pictures) const {
        return "<< /ProcSet [/PDF /Text /ImageB] /Font << " + fonts_ + ">>" +
               (pictures.empty() ? "" : " /XObject << " + pictures + " >>") + " >>";
    }

    void writePage(int index) {
        const int content = file_.reserve();
        std::string pictures;
        if (index % pagesPerFigure == pagesPerFigure / 2) {
            const int figure = file_.reserve();
            file_.putFlateStream(figure,
                                 "/Type /XObject /Subtype /Image /Width " +
                                     std::to_string(figureWidth) + " /Height " +
                                     std::to_string(figureHeight) +
                                     " /ColorSpace /DeviceGray /BitsPerComponent 8",
                                 figurePixels(random_));
            pictures = "/Im1 " + reference(figure);
        }
        file_.putFlateStream(content, "", pageText(index, !pictures.empty()));

        std::string page = "<< /Type /Page /Parent " + reference(tree_.parentOf(index)) +
                           " /Contents " + reference(content);
        if (plan_.resources != ResourcePlace::treeRoot) {
            page += " /MediaBox [0 0 595 842]";
        }
        if (plan_.resources == ResourcePlace::objectPerPage) {
            page += " /Resources " + reference(file_.add(resources(pictures)));
        } else if (plan_.resources == ResourcePlace::page || !pictures.empty()) {
            page += " /Resources " + resources(pictures);
        }
        page += " /Annots " + links();
        file_.put(tree_.page(index), page + " >>");
    }

    std::string pageText(int index, bool hasFigure) {
        std::string text = "BT /F4 9 Tf 72 790 Td " + literal(plan_.title) + " Tj ET\n" +
                           "0.5 w 72 784 m 522 784 l S\n";
        text += "BT /F2 14 Tf 72 745 Td " + literal(prose_.title(4)) + " Tj ET\n";
        text +=
            "BT /F1 10 Tf " + std::to_string(bodyLeft) + ' ' + std::to_string(bodyTop) + " Td\n";
        const int codeLines = 5;
        const int lines = hasFigure ? bodyLines - 14 : bodyLines - codeLines;
        text += justifiedLines(prose_, random_, lines, bodyWidth, 10, bodyLeading);
        if (!hasFigure) {
            text += "/F3 9 Tf 12 -4 Td\n";
            for (int i = 0; i < codeLines; ++i) {
                text += literal(prose_.word() + '(' + prose_.word() + ", " +
                                std::to_string(random_.below(1000)) + ");") +
                        " Tj 0 -12 Td\n";
            }
        }
        text += "ET\n";
        if (hasFigure) {
            text += "q 240 0 0 160 177 170 cm /Im1 Do Q\n";
        }
        text += "BT /F4 9 Tf 72 60 Td " +
                literal(plan_.title + " - page " + std::to_string(index + 1)) + " Tj ET\n";
        return text;
    }

    /// The page's link annotations, each an object; returns the array of them.
    std::string links() {
        std::string array = "[";
        const int inside = random_.between(2, 6);
        for (int i = 0; i < inside; ++i) {
            const int target = random_.below(plan_.pages);
            array += reference(link(targetEntry(target, random_.between(200, 760)))) + ' ';
        }
        if (random_.below(5) < 2) {
            const std::string address =
                "https://www.example.org/" + prose_.word() + '/' + prose_.word() + ".html";
            array += reference(link("/A << /S /URI /URI " + literal(address) + " >>")) + ' ';
        }
        return array + "]";
    }

    int link(const std::string& target) {
        const int left = random_.between(bodyLeft, bodyLeft + bodyWidth - 100);
        const int bottom = bodyTop - bodyLeading * random_.below(bodyLines) - 3;
        return file_.add("<< /Type /Annot /Subtype /Link /Border [0 0 0] /H /I /Rect [" +
                         std::to_string(left) + ' ' + std::to_string(bottom) + ' ' +
                         std::to_string(left + random_.between(30, 100)) + ' ' +
                         std::to_string(bottom + 12) + "] " + target + " >>");
    }

    /// The entry of a link or an outline item that leads to a page.
    std::string targetEntry(int page, int top) {
        const std::string place =
            "[" + reference(tree_.page(page)) + " /XYZ 72 " + std::to_string(top) + " null]";
        switch (plan_.targets) {
        case TargetStyle::destination:
            return "/Dest " + place;
        case TargetStyle::action:
            return "/A << /S /GoTo /D " + place + " >>";
        case TargetStyle::named:
            break;
        }
        const std::string name = "page." + std::to_string(page + 1) + '.' + std::to_string(top);
        names_.emplace(name, place);
        return "/A << /S /GoTo /D " + literal(name) + " >>";
    }

    std::vector<int> reserveMany(int count) {
        std::vector<int> numbers(static_cast<std::size_t>(count));
        for (int& number : numbers) {
            number = file_.reserve();
        }
        return numbers;
    }

    /// Chapters with their sections, spread evenly over the pages. Returns the outline's root.
    int writeOutline() {
        const int root = file_.reserve();
        const std::vector<int> chapters = reserveMany(plan_.chapters);
        const int perChapter = plan_.pages / plan_.chapters;
        for (int chapter = 0; chapter < plan_.chapters; ++chapter) {
            const int number = chapters[static_cast<std::size_t>(chapter)];
            const std::vector<int> sections = reserveMany(plan_.sectionsPerChapter);
            for (int i = 0; i < plan_.sectionsPerChapter; ++i) {
                const int page = chapter * perChapter + i * perChapter / plan_.sectionsPerChapter;
                writeOutlineItem(sections, i, number, page, "");
            }
            // A negative count: the chapter stands folded.
            writeOutlineItem(chapters, chapter, root, chapter * perChapter,
                             " /First " + reference(sections.front()) + " /Last " +
                                 reference(sections.back()) + " /Count " +
                                 std::to_string(-plan_.sectionsPerChapter));
        }
        file_.put(root, "<< /Type /Outlines /First " + reference(chapters.front()) + " /Last " +
                            reference(chapters.back()) + " /Count " +
                            std::to_string(plan_.chapters) + " >>");
        return root;
    }

    void writeOutlineItem(const std::vector<int>& siblings, int index, int parent, int page,
                          const std::string& children) {
        const auto at = static_cast<std::size_t>(index);
        std::string item = "<< /Title " + literal(prose_.title(random_.between(2, 6))) +
                           " /Parent " + reference(parent) + children;
        if (at > 0) {
            item += " /Prev " + reference(siblings[at - 1]);
        }
        if (at + 1 < siblings.size()) {
            item += " /Next " + reference(siblings[at + 1]);
        }
        file_.put(siblings[at], item + ' ' + targetEntry(page, 760) + " >>");
    }

    int writePageLabels() {
        return file_.add("<< /Nums [0 << /S /r >> " + std::to_string(frontMatterPages) +
                         " << /S /D >> " + std::to_string(plan_.pages - appendixPages) +
                         " << /S /D /P (A-) >>] >>");
    }

    int writeNameTree() {
        std::string kids;
        auto name = names_.cbegin();
        while (name != names_.cend()) {
            const std::string first = name->first;
            std::string last;
            std::string pairs;
            for (int i = 0; i < leaf && name != names_.cend(); ++i, ++name) {
                last = name->first;
                const int place = file_.add("<< /D " + name->second + " >>");
                pairs += literal(name->first) + ' ' + reference(place) + ' ';
            }
            kids += reference(file_.add("<< /Limits [" + literal(first) + ' ' + literal(last) +
                                        "] /Names [" + pairs + "] >>")) +
                    ' ';
        }
        return file_.add("<< /Kids [" + kids + "] >>");
    }

    const ManualPlan& plan_;
    Random random_;
    Prose prose_;
    PdfFile file_;
    PageTree tree_;
    std::string fonts_; ///< entries of the font dictionary
    int fontCount_ = 0;
    std::map<std::string, std::string> names_; ///< destination by name, in the name tree's order
};

} // namespace

void writeManual(const std::filesystem::path& path, const ManualPlan& plan) {
    ManualWriter(path, plan).write();
}

} // namespace bench
