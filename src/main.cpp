#include "lab/Kestrane.h"

int main(int argc, char* argv[]) {
    kestrane::Kestrane program;
    return program.Main(argc, argv);
}
