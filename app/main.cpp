#include "app/CommandLine.h"

int main(int argc, char** argv) {
    return vimbo::app::run(argc, argv);
}
