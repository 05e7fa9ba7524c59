#include "functional/correlation.hpp"

#include <cmath>

#include "numeric/congruence.hpp"
#include "numeric/statistics.hpp"

double CommunityCorr(int n, double** A, double** B)
{
    if (n >= 3) return MatrixCorr(n, A, B);
    const double a = n < 2 ? 0.0 : A[0][1];
    const double b = n < 2 ? 0.0 : B[0][1];
    return 1.0 - std::fabs(a - b) / Fmax(a, b);
}
