// Makes the two documents that benchmarks/carrying merges, and that the tests of merging use:
//
//     quillorn_carrying_documents FOLDER
//
// writes FOLDER/one.pdf and FOLDER/two.pdf.

#include "tests/platform/pdf/carrying/FullDocument.h"

#include <exception>
#include <filesystem>
#include <iostream>
#include <string>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: quillorn_carrying_documents FOLDER\n";
        return 2;
    }
    try {
        for (const char* name : {"one", "two"}) {
            quillorn::tests::fullDocument(name).writeTo(std::filesystem::path(argv[1]) /
                                                        (std::string(name) + ".pdf"));
        }
    } catch (const std::exception& error) {
        std::cerr << "quillorn_carrying_documents: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
