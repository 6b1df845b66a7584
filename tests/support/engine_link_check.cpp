#include <QCoreApplication>
#include <cstdio>

// Linked with every object of tlm_engine and no GUI library: building it is the check.
int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    std::puts("engine linked without GUI libraries");
    return 0;
}
