#include "curveSet.h"

#include "toolError.h"

#include <algorithm>

TcurveSet selectCurves(TcurveSet curves, std::vector<std::string> const& names, std::string const& file)
{
    if (names.empty()) {
        return curves;
    }
    for (std::string const& name : names) {
        auto const named = [&name](TnamedCurve const& curve) { return curve.fName == name; };
        if (std::none_of(curves.begin(), curves.end(), named)) {
            fail(file, "", "no curve named '" + name + "'");
        }
    }
    std::erase_if(curves, [&names](TnamedCurve const& curve) {
        return std::find(names.begin(), names.end(), curve.fName) == names.end();
    });
    return curves;
}

bool keyTimeRange(TcurveSet const& curves, double& first, double& last)
{
    bool any = false;
    for (TnamedCurve const& named : curves) {
        TparamCurve const& curve = *named.fCurve;
        unsigned const count = curve.keyframeCountAll();
        if (count == 0) {
            continue;
        }
        double const start = curve.doubleSeconds(curve.keyframe(0));
        double const end = curve.doubleSeconds(curve.keyframe(count - 1));
        first = any ? std::min(first, start) : start;
        last = any ? std::max(last, end) : end;
        any = true;
    }
    return any;
}
