// Names all that the library offers, once each.

#include "interface.h"

int main()
{
    names::vectors();
    names::boundingVolumes();
    names::quaternions();
    names::matrices();
    names::pointArrays();
    names::readers();
    names::lasFiles();
    names::dataSets();
    names::control();
    names::volumes();
    if (names::failures != 0)
        return 1;
    std::printf("all %d names are there\n", names::namesSeen);
    return 0;
}
