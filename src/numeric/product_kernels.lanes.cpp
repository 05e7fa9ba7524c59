// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/product_kernels.hpp"

namespace {

template <TermOrder order, bool isSimple>
inline double Lane(const ProductFactor& f, double b)
{
    return isSimple ? f.weightedA * b : Term<order>(f.a, b, f.weight);
}

template <TermOrder order, bool isSimple>
void AddWhole(int width, const ProductFactor* factors, int nFactors, double* terms)
{
    int c = 0;
    for (; c + 4 <= nFactors; c += 4) {
        const ProductFactor f0 = factors[c], f1 = factors[c + 1];
        const ProductFactor f2 = factors[c + 2], f3 = factors[c + 3];
        #pragma omp simd
        for (int j = 0; j < width; j++) {
            double sum = terms[j];
            sum += Lane<order, isSimple>(f0, f0.b[j]);
            sum += Lane<order, isSimple>(f1, f1.b[j]);
            sum += Lane<order, isSimple>(f2, f2.b[j]);
            sum += Lane<order, isSimple>(f3, f3.b[j]);
            terms[j] = sum;
        }
    }
    for (; c < nFactors; c++) {
        const ProductFactor f = factors[c];
        #pragma omp simd
        for (int j = 0; j < width; j++) terms[j] += Lane<order, isSimple>(f, f.b[j]);
    }
}

template <TermOrder order, bool isSimple>
void AddHoled(int width, const ProductFactor* factors, int nFactors, double* terms,
              double* weighted, double* present)
{
    AddWhole<order, isSimple>(width, factors, nFactors, terms);
    for (int c = 0; c < nFactors; c++) {
        const ProductFactor f = factors[c];
        #pragma omp simd
        for (int j = 0; j < width; j++) {
            weighted[j] += f.weightedA * f.hasB[j];
            present[j] += f.a * f.hasB[j];
        }
    }
}

} // namespace

namespace KELPRA_PATH
{
extern const ProductKernels productKernels;
const ProductKernels productKernels = {
    {{AddWhole<weightTimesA, true>, AddWhole<weightTimesA, true>},
     {AddWhole<weightTimesB, false>, AddWhole<weightTimesB, true>},
     {AddWhole<weightLast, false>, AddWhole<weightLast, true>}},
    {{AddHoled<weightTimesA, true>, AddHoled<weightTimesA, true>},
     {AddHoled<weightTimesB, false>, AddHoled<weightTimesB, true>},
     {AddHoled<weightLast, false>, AddHoled<weightLast, true>}}};
} // namespace KELPRA_PATH
