#include "numeric/information.hpp"

#include <cmath>

double SumAbsDeviations(int n, const double* a, const double* b, bool squared)
{
    double totalA = 0.0;
    double totalB = 0.0;
    for (int i = 0; i < n; i++) {
        totalA += a[i];
        totalB += b[i];
    }
    if (n < 1 || !(totalA > 0.0) || !(totalB > 0.0)) return 0.0;

    double sum = 0.0;
    for (int i = 0; i < n; i++) {
        const double d = a[i] / totalA - b[i] / totalB;
        sum += squared ? d * d : std::fabs(d);
    }
    return 0.5 * sum;
}
