// Makes the input files of the benchmarks, the same bytes every time:
//
//     quillorn_bench_inputs FOLDER
//
// and FOLDER/manifest.json, which tells for each file its pages and the text that stands on page N
// of it ("" where pages carry none). The manifest comes last, so a folder that has it is complete.

#include "Manual.h"
#include "PdfFile.h"
#include "Photo.h"
#include "PlainPages.h"
#include "Scans.h"

#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Path = std::filesystem::path;

struct Input {
    std::string name;
    int pages = 0;
    std::string marker; ///< text on each page, followed by the page's number
    std::function<void(const Path&)> write;
};

Input manual(const std::string& name, const bench::ManualPlan& plan) {
    return {name, plan.pages, plan.title + " - page ",
            [plan](const Path& path) { bench::writeManual(path, plan); }};
}

Input scans(const std::string& name, bool grey, int quality, unsigned seed) {
    constexpr int pages = 100;
    return {name, pages, "", [grey, quality, seed](const Path& path) {
                bench::writeScans(path, pages, grey, quality, seed);
            }};
}

Input plain(int pages) {
    return {"plain-" + std::to_string(pages) + ".pdf", pages, "Page ",
            [pages](const Path& path) { bench::writePlainPages(path, pages); }};
}

Input photo(int number) {
    return {"photo-" + std::to_string(number) + ".jpg", 1, "", [number](const Path& path) {
                bench::writePhoto(path, static_cast<std::uint64_t>(number) + 40);
            }};
}

std::vector<Input> inputs() {
    using bench::PdfLayout;
    using bench::ResourcePlace;
    using bench::TargetStyle;
    const bench::ManualPlan large{"Large manual",
                                  2400,
                                  PdfLayout::objectStreams,
                                  6,
                                  ResourcePlace::objectPerPage,
                                  TargetStyle::named,
                                  40,
                                  14,
                                  14};
    bench::ManualPlan largeClassic = large;
    largeClassic.layout = PdfLayout::classic;
    return {
        manual("manual-a.pdf", {"Manual A", 1000, PdfLayout::classic, 8, ResourcePlace::treeRoot,
                                TargetStyle::destination, 20, 14, 11}),
        manual("manual-b.pdf", {"Manual B", 1024, PdfLayout::classic, 1024, ResourcePlace::page,
                                TargetStyle::action, 32, 10, 12}),
        manual("manual-c.pdf", {"Manual C", 986, PdfLayout::objectStreams, 6,
                                ResourcePlace::objectPerPage, TargetStyle::named, 17, 22, 13}),
        manual("manual-2400.pdf", large),
        manual("manual-2400-classic.pdf", largeClassic),
        scans("scans-1.pdf", true, 42, 21),
        scans("scans-2.pdf", false, 42, 22),
        scans("scans-3.pdf", true, 42, 23),
        photo(1),
        photo(2),
        photo(3),
        photo(4),
        plain(1000),
        plain(5000),
        plain(10000),
        plain(20000),
        plain(100000),
    };
}

void makeInputs(const Path& folder) {
    const Path making = folder / "making"; // whoever reads the folder meets whole files only
    std::filesystem::create_directories(making);
    const Path manifestPath = folder / "manifest.json";
    std::filesystem::remove(manifestPath);
    std::string manifest;
    for (const Input& input : inputs()) {
        const Path path = folder / input.name;
        input.write(making / input.name);
        std::filesystem::rename(making / input.name, path);
        std::cout << input.name << ": " << input.pages << " pages, "
                  << std::filesystem::file_size(path) << " bytes\n";
        manifest += (manifest.empty() ? "{\n" : ",\n");
        manifest += "  \"" + input.name + "\": {\"pages\": " + std::to_string(input.pages) +
                    ", \"marker\": \"" + input.marker + "\"}";
    }
    std::filesystem::remove(making);
    std::ofstream out(manifestPath);
    out << manifest << "\n}\n";
    out.close();
    if (!out) {
        throw std::runtime_error("cannot write " + manifestPath.string());
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: quillorn_bench_inputs FOLDER\n";
        return 2;
    }
    try {
        makeInputs(argv[1]);
    } catch (const std::exception& error) {
        std::cerr << "quillorn_bench_inputs: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
