#include "keelanim/base/ffd.h"

#include <algorithm>
#include <cmath>

namespace {

// The Bernstein basis of degree n at t: out[k] = C(n, k) t^k (1 - t)^(n - k),
// built by de Casteljau's recurrence, which stays exact at t = 0 and 1.
void bernstein(unsigned degree, double t, std::vector<double>& out)
{
    out.assign(degree + 1, 0.0);
    out[0] = 1.0;
    for (unsigned n = 1; n <= degree; ++n) {
        for (unsigned k = n; k > 0; --k) {
            out[k] = out[k] * (1.0 - t) + out[k - 1] * t;
        }
        out[0] *= 1.0 - t;
    }
}

bool finitePoint(T4dDblPoint const& p)
{
    return std::isfinite(p.fX) && std::isfinite(p.fY) && std::isfinite(p.fW);
}

}  // namespace

bool T2dFfd::setLatticeParams(unsigned columns, unsigned rows, float envelope, T4dDblPointArray const* points)
{
    fPoints.clear();
    if (columns < 2 || rows < 2 || points == nullptr || points->count() != columns * rows || !(envelope >= 0.0f) ||
        !std::isfinite(envelope)) {
        return false;
    }
    if (!std::all_of(points->begin(), points->end(), finitePoint)) {
        return false;
    }
    fColumns = columns;
    fRows = rows;
    fEnvelope = envelope;
    fPoints.assign(points->begin(), points->end());
    return true;
}

bool T2dFfd::blend(double u, double v, double& x, double& y) const
{
    thread_local std::vector<double> bu;
    thread_local std::vector<double> bv;
    bernstein(fColumns - 1, u, bu);
    bernstein(fRows - 1, v, bv);
    double sx = 0.0;
    double sy = 0.0;
    double sw = 0.0;
    for (unsigned j = 0; j < fRows; ++j) {
        for (unsigned i = 0; i < fColumns; ++i) {
            T4dDblPoint const& p = fPoints[j * fColumns + i];
            double const b = bu[i] * bv[j] * p.fW;
            sx += b * p.fX;
            sy += b * p.fY;
            sw += b;
        }
    }
    if (!(std::fabs(sw) > 1e-300)) {
        return false;
    }
    x = sx / sw;
    y = sy / sw;
    return std::isfinite(x) && std::isfinite(y);
}

bool T2dFfd::deform(double& x, double& y) const
{
    if (!loaded() || !std::isfinite(x) || !std::isfinite(y)) {
        return false;
    }
    double const u = std::clamp(x, 0.0, 1.0);
    double const v = std::clamp(y, 0.0, 1.0);
    double const outside = std::hypot(x - u, y - v);
    double weight = 1.0;
    if (outside > 0.0) {
        weight = fEnvelope > 0.0 ? std::max(0.0, 1.0 - outside / fEnvelope) : 0.0;
        if (weight == 0.0) {
            return true;  // beyond the envelope nothing moves
        }
    }
    double bx = 0.0;
    double by = 0.0;
    if (!blend(u, v, bx, by)) {
        return false;
    }
    x += (bx - u) * weight;
    y += (by - v) * weight;
    return true;
}
