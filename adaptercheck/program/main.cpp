#include "adaptercheck/program/paperadapter.h"
#include "linkage/version.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstring>

int main(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
        std::printf("linkage-adapter-check %s\n", TC::loadedVersion());
        return 0;
    }
    const QCoreApplication application(argc, argv);
    return adaptercheck::run(argc, argv,
                             [] { return std::make_unique<adaptercheck::CPaperAdapter>(); });
}
