#include "tests/fakes/PDFImages.h"

#include "tests/fakes/Program.h"
#include "tests/fakes/TemporaryFolder.h"

#include <sstream>
#include <stdexcept>
#include <utility>

namespace quillorn::tests {

namespace {

std::string outputOf(const std::string& program, std::vector<std::string> words) {
    ProgramResult result = Program(program, std::move(words)).run();
    if (result.status != 0) {
        throw std::runtime_error(program + ": " + result.errors);
    }
    return std::move(result.output);
}

/// A binary PPM of 8 bits.
TestPixels pixelsOfPPM(const std::string& bytes) {
    std::istringstream in(bytes);
    std::string mark;
    std::size_t largest = 0;
    TestPixels pixels;
    in >> mark >> pixels.width >> pixels.height >> largest;
    in.get();
    const std::string data = bytes.substr(static_cast<std::size_t>(in.tellg()));
    if (mark != "P6" || largest != 255 || data.size() != pixels.width * pixels.height * 3) {
        throw std::runtime_error("no PPM file of 8 bits");
    }
    pixels.samples.assign(data.begin(), data.end());
    return pixels;
}

} // namespace

std::vector<std::string> imageFilesIn(const std::filesystem::path& pdf) {
    const TemporaryFolder folder;
    outputOf("pdfimages", {"-all", pdf.string(), (folder / "image").string()});
    std::vector<std::string> files;
    for (const std::string& name : folder.names()) {
        files.push_back(readFile(folder / name));
    }
    return files;
}

std::vector<std::vector<std::string>> imageListOf(const std::filesystem::path& pdf) {
    std::istringstream lines(outputOf("pdfimages", {"-list", pdf.string()}));
    std::vector<std::vector<std::string>> list;
    std::string line;
    for (int number = 0; std::getline(lines, line); ++number) {
        if (number < 2) {
            continue; // the heading
        }
        std::istringstream words(line);
        std::vector<std::string>& row = list.emplace_back();
        for (std::string word; words >> word;) {
            row.push_back(word);
        }
    }
    return list;
}

TestPixels drawnPage(const std::filesystem::path& pdf) {
    const TemporaryFolder folder; // mutool goes by the name, which may be that of an image
    std::filesystem::create_symlink(std::filesystem::absolute(pdf), folder / "page.pdf");
    return pixelsOfPPM(outputOf("mutool", {"draw", "-q", "-r", "72", "-F", "ppm", "-o", "-",
                                           (folder / "page.pdf").string(), "1"}));
}

TestPixels cropped(const TestPixels& pixels, std::size_t left, std::size_t top, std::size_t width,
                   std::size_t height) {
    TestPixels part{width, height, pixels.channels, {}};
    for (std::size_t y = top; y < top + height; ++y) {
        for (std::size_t x = left; x < left + width; ++x) {
            for (std::size_t channel = 0; channel < pixels.channels; ++channel) {
                part.samples.push_back(pixels.at(x, y, channel));
            }
        }
    }
    return part;
}

TestPixels pictureIn(const std::filesystem::path& file) {
    const TemporaryFolder folder;
    convertImage(file.string() + "[0]", folder / "picture.ppm",
                 {"-background", "white", "-alpha", "remove", "-colorspace", "sRGB", "-strip",
                  "-depth", "8"});
    return pixelsOfPPM(readFile(folder / "picture.ppm"));
}

} // namespace quillorn::tests
