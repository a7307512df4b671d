// Prints the golden baseline of every museum exhibit on standard output;
// scripts/regenerate-golden.sh writes it to tests/data/museumGolden.txt.
// Samples are evaluated in time order, as the in-order check evaluates them.

#include "support/goldenSamples.h"
#include "support/museum.h"

#include <cstdio>

namespace {

char const* const kHeader = "# Golden values of the museum curves (tests/support/museum.h): what the\n"
                            "# engine computed for each exhibit every fortieth of a second from -3 s\n"
                            "# to 7 s. Evaluation must reproduce every bit; work done for speed or\n"
                            "# tidiness leaves this file alone. Regenerate only for a deliberate change\n"
                            "# of results, with scripts/regenerate-golden.sh.\n"
                            "#\n"
                            "# Each exhibit starts with a line \"# curve: <name>\", followed by one line\n"
                            "# \"<time> <value>\" per sample: the time in seconds as the shortest text\n"
                            "# that reads back to the same float, the value printed with %.17g, which\n"
                            "# reads back to the same double.\n";

}  // namespace

int main()
{
    std::fputs(kHeader, stdout);
    for (auto const& exhibit : keeltest::museum()) {
        std::printf("\n%s%s\n", keeltest::kGoldenCurvePrefix, exhibit.fName.c_str());
        auto curve = exhibit.fBuild();
        for (int i = 0; i < keeltest::kGoldenSamplesPerCurve; ++i) {
            float const t = keeltest::goldenSampleTime(i);
            std::printf("%s %s\n", keeltest::goldenTimeText(t).c_str(),
                        keeltest::goldenValueText(curve->evaluate(t)).c_str());
        }
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}
