// Drives the program's window from inside and prints what was measured as one JSON object:
//
//     quillorn_bench_window BENCHMARK INPUTS HOME
//
// BENCHMARK is many-pages, editing, first-pictures or freezes; INPUTS is the folder that
// quillorn_bench_inputs has filled, HOME an empty folder for the program's files.

#include "benchmarks/window/inside/Benchmarks.h"

#include <QApplication>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <string>

int main(int argc, char** argv) {
    using Measure = void (*)(const bench::Surroundings&, bench::Figures&);
    const std::map<std::string, Measure> all = {{"many-pages", bench::measureManyPages},
                                                {"editing", bench::measureEditing},
                                                {"first-pictures", bench::measureFirstPictures},
                                                {"freezes", bench::measureFreezes}};
    constexpr int expected = 4;
    if (argc != expected || !all.contains(argv[1])) {
        std::fputs("usage: quillorn_bench_window BENCHMARK INPUTS HOME\n", stderr);
        return 2;
    }
    try {
        const bench::Surroundings where{argv[2], argv[3]};
        ::setenv("HOME", where.home.c_str(), 1);
        ::setenv("XDG_CONFIG_HOME", (where.home / ".config").c_str(), 1);
        QApplication::setApplicationName(QStringLiteral("quillorn-folivane"));
        QApplication application(argc, argv);
        std::setlocale(LC_NUMERIC, "C");
        bench::Figures figures;
        all.at(argv[1])(where, figures);
        std::printf("%s\n", figures.json().c_str());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "quillorn_bench_window: %s\n", error.what());
        return 1;
    }
    return 0;
}
