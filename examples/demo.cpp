// The engine's main job on a built-in example: keys in both time forms,
// kept in time order by the curve key containers.

#include <keelanim/keelanim.h>

#include <cstdio>
#include <memory>
#include <vector>

namespace {

template <class Array> void printKeys(char const* title, Array const& keys)
{
    std::printf("%s (%u keys)\n", title, keys.count());
    std::printf("  %-5s %-12s %-10s %-8s %-8s %s\n", "index", "time (s)", "value", "in", "out", "form");
    for (unsigned i = 0; i < keys.count(); ++i) {
        Tkeyframe const* key = keys.at(i);
        std::printf("  %-5u %-12.6f %-10.4f %-8d %-8d %s\n", i, key->seconds(), key->value(), int(key->tanInType()),
                    int(key->tanOutType()), key->isTickTime() ? "ticks" : "seconds");
    }
}

}  // namespace

int main()
{
    std::printf("Keelanim %s\n\n", relmarkVersion());

    // A seconds curve's keys, added out of order; the array sorts them and
    // refuses a key within 1e-5 s of one it holds.
    std::vector<std::unique_ptr<Tkeyframe>> owned;
    TfloatKeyframePtrArray secondsKeys(false, 8);
    for (float const t : {1.0f, 0.0f, 2.5f, 0.5f, 1.000004f}) {
        owned.push_back(std::make_unique<Tkeyframe>(t, double(t) * double(t), kTangentGlobal, kTangentLinear));
        if (secondsKeys.insert(owned.back().get()) != 0) {
            std::printf("refused a key at %.6f s: too close to an existing key\n", double(t));
        }
    }
    printKeys("seconds keys", secondsKeys);

    // A tick curve's keys: 6000 ticks per second, exact signed order.
    TanimTimeKeyframePtrArray tickKeys(false, 8);
    for (int const ticks : {6000, -6000, 12000, 0, 3000}) {
        owned.push_back(
            std::make_unique<Tkeyframe>(TanimTime::fromTicks(ticks), ticks / 6000.0, kTangentStep, kTangentStep));
        tickKeys.insert(owned.back().get());
    }
    printKeys("\ntick keys", tickKeys);

    unsigned index = 0;
    Tkeyframe const probe(TanimTime(0.25, kSeconds), 0.0, kTangentGlobal, kTangentGlobal);
    tickKeys.find(&probe, index);
    std::printf("\na key at 0.25 s would go in at index %u of the tick keys\n", index);
    return 0;
}
