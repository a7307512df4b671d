#include <keelanim/keelanim.h>

#include <cstdio>
#include <cstring>

int main()
{
    TanimTimeKeyframePtrArray keys(false, 8);
    Tkeyframe late(TanimTime::fromTicks(12000), 2.0, kTangentGlobal, kTangentGlobal);
    Tkeyframe early(TanimTime::fromTicks(6000), 1.0, kTangentGlobal, kTangentGlobal);
    if (keys.insert(&late) != 0 || keys.insert(&early) != 0 || keys.at(0) != &early) {
        std::puts("installed engine misorders keys");
        return 1;
    }
    if (std::strlen(relmarkVersion()) == 0) {
        return 1;
    }
    std::printf("installed Keelanim %s orders keys\n", relmarkVersion());
    return 0;
}
