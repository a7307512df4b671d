#include "unitRoots.h"

#include "keelanim/segments/bezier.h"

#include <cmath>

namespace keel_segments {

namespace {

constexpr int kMaxBrentIterations = 200;

// Horner evaluation, highest coefficient first. The degree is a template
// argument so that the loop unrolls: the operations and their order are
// those of the plain loop.
template <int Degree> [[gnu::always_inline]] inline double polynomialAt(double const* coefficients, double u)
{
    double value = coefficients[Degree];
    for (int i = Degree - 1; i >= 0; --i) {
        value = value * u + coefficients[i];
    }
    return value;
}

// std::fmin without the library call: a NaN operand yields the other one.
[[gnu::always_inline]] inline double smallerOf(double x, double y)
{
    return (y < x || std::isnan(x)) ? y : x;
}

// Appends a root, or merges it with the previous one when they are closer
// than four machine epsilons.
void addRoot(double root, double* roots, int& count, double epsilon4)
{
    if (count > 0 && std::fabs(root - roots[count - 1]) <= epsilon4) {
        roots[count - 1] = 0.5 * (roots[count - 1] + root);
        return;
    }
    if (count <= kMaxDegree) {
        roots[count++] = root;
    }
}

// A root of the polynomial in [lo, hi], where its signs differ at the ends:
// inverse quadratic interpolation with a bisection fallback, converged when
// half the bracket is within two machine epsilons of the estimate (relative)
// or the polynomial vanishes there.
template <int Degree>
double brentRoot(double const* coefficients, double lo, double hi, double flo, double fhi, double epsilon)
{
    double a = lo;
    double b = hi;
    double c = hi;
    double fa = flo;
    double fb = fhi;
    double fc = fhi;
    double d = b - a;
    double e = d;
    for (int iteration = 0; iteration < kMaxBrentIterations; ++iteration) {
        if ((fb > 0.0 && fc > 0.0) || (fb < 0.0 && fc < 0.0)) {
            c = a;
            fc = fa;
            d = b - a;
            e = d;
        }
        if (std::fabs(fc) < std::fabs(fb)) {
            a = b;
            b = c;
            c = a;
            fa = fb;
            fb = fc;
            fc = fa;
        }
        double const tolerance = 2.0 * epsilon * std::fabs(b);
        double const half = 0.5 * (c - b);
        if (std::fabs(half) <= tolerance || fb == 0.0) {
            return b;
        }
        if (std::fabs(e) >= tolerance && std::fabs(fa) > std::fabs(fb)) {
            // Inverse quadratic interpolation, or the secant step.
            double const s = fb / fa;
            double p = 0.0;
            double q = 0.0;
            if (a == c) {
                p = 2.0 * half * s;
                q = 1.0 - s;
            } else {
                double const qa = fa / fc;
                double const r = fb / fc;
                p = s * (2.0 * half * qa * (qa - r) - (b - a) * (r - 1.0));
                q = (qa - 1.0) * (r - 1.0) * (s - 1.0);
            }
            if (p > 0.0) {
                q = -q;
            } else {
                p = -p;
            }
            if (2.0 * p < smallerOf(3.0 * half * q - std::fabs(tolerance * q), std::fabs(e * q))) {
                e = d;
                d = p / q;
            } else {
                d = half;
                e = d;
            }
        } else {
            d = half;  // bisection
            e = d;
        }
        a = b;
        fa = fb;
        b += std::fabs(d) > tolerance ? d : (half > 0.0 ? tolerance : -tolerance);
        fb = polynomialAt<Degree>(coefficients, b);
    }
    return b;
}

template <int Degree> int rootsOfDegree(double const* coefficients, double* roots, double epsilon);

template <> int rootsOfDegree<1>(double const* coefficients, double* roots, double /*epsilon*/)
{
    if (coefficients[1] == 0.0) {
        return 0;
    }
    double const root = -coefficients[0] / coefficients[1];
    if (root >= 0.0 && root <= 1.0) {
        roots[0] = root;
        return 1;
    }
    return 0;
}

// The derivative's roots bound the monotonic pieces; each piece holds a
// root at an end where the polynomial is within four epsilons of zero, or
// one refined by Brent's method where the signs at its ends differ.
template <int Degree> int rootsOfDegree(double const* coefficients, double* roots, double epsilon)
{
    double const epsilon4 = 4.0 * epsilon;
    double derivative[Degree];
    for (int i = 1; i <= Degree; ++i) {
        derivative[i - 1] = coefficients[i] * i;
    }
    // Sized for the most roots addRoot keeps, whatever the degree.
    double ends[kMaxDegree + 1] = {};
    int const turns = rootsOfDegree<Degree - 1>(derivative, ends, epsilon);
    double pieces[kMaxDegree + 2];
    int pieceCount = 0;
    pieces[pieceCount++] = 0.0;
    for (int i = 0; i < turns; ++i) {
        if (ends[i] > pieces[pieceCount - 1] && ends[i] < 1.0) {
            pieces[pieceCount++] = ends[i];
        }
    }
    pieces[pieceCount++] = 1.0;

    int count = 0;
    double fLo = polynomialAt<Degree>(coefficients, pieces[0]);
    for (int i = 0; i + 1 < pieceCount; ++i) {
        double const lo = pieces[i];
        double const hi = pieces[i + 1];
        double const fHi = polynomialAt<Degree>(coefficients, hi);
        if (std::fabs(fLo) <= epsilon4) {
            addRoot(lo, roots, count, epsilon4);
        } else if (std::fabs(fHi) > epsilon4 && ((fLo < 0.0) != (fHi < 0.0))) {
            addRoot(brentRoot<Degree>(coefficients, lo, hi, fLo, fHi, epsilon), roots, count, epsilon4);
        }
        if (i + 2 == pieceCount && std::fabs(fHi) <= epsilon4) {
            addRoot(hi, roots, count, epsilon4);
        }
        fLo = fHi;
    }
    return count;
}

}  // namespace

int rootsInUnitInterval(double const* coefficients, int degree, double* roots)
{
    double const epsilon = T2dBezier::machineEpsilon();
    switch (degree) {
    case 0: return 0;
    case 1: return rootsOfDegree<1>(coefficients, roots, epsilon);
    case 2: return rootsOfDegree<2>(coefficients, roots, epsilon);
    case 3: return rootsOfDegree<3>(coefficients, roots, epsilon);
    default: return -1;
    }
}

}  // namespace keel_segments
