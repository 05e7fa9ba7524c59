// Body of the kernels, included once per instruction set inside a namespace of its own. Plain
// arithmetic on vectors of 8 outputs only: nothing here may be shared with code compiled for another
// instruction set.

constexpr int block = 8;
typedef double Block __attribute__((vector_size(64), aligned(8), may_alias));

inline const Block& At(const double* from)
{
    return *reinterpret_cast<const Block*>(from);
}

/// Object i against objects k to k + 7, squared or absolute differences summed over the variables;
/// columns are readable 8 cells beyond the last object.
template <bool isSquared>
inline void PairBlock(int p, const double* columns, std::size_t stride, int i, int k, double* sums)
{
    Block sum = {};
    for (int j = 0; j < p; j++) {
        const double* column = columns + static_cast<std::size_t>(j) * stride;
        const Block difference = column[i] - At(column + k);
        if (isSquared)
            sum += difference * difference;
        else
            sum += difference < 0.0 ? -difference : difference;
    }
    *reinterpret_cast<Block*>(sums) = sum;
}

template <bool isSquared>
void Pairs(int n, int p, const double* columns, std::size_t stride, double* packed)
{
    for (int i = 0; i < n; i++) {
        for (int k = i + 1; k < n; k += block) {
            double sum[block];
            PairBlock<isSquared>(p, columns, stride, i, k, sum);
            const int count = n - k < block ? n - k : block;
            for (int l = 0; l < count; l++)
                packed[l] = !isSquared ? sum[l] : sum[l] > 0.0 ? __builtin_sqrt(sum[l]) : 0.0;
            packed += count;
        }
    }
}

void Euclidean(int n, int p, const double* columns, std::size_t stride, double* packed)
{
    Pairs<true>(n, p, columns, stride, packed);
}

void CityBlock(int n, int p, const double* columns, std::size_t stride, double* packed)
{
    Pairs<false>(n, p, columns, stride, packed);
}

void WeightedRows(const double* rows, std::size_t width, int nPresent, const int* present,
                  const double* weight, const int* list, double* out)
{
    for (std::size_t c = 0; c < width; c += block) {
        Block sum = {};
        for (int m = 0; m < nPresent; m++)
            sum += At(rows + static_cast<std::size_t>(list[present[m]] - 1) * width + c) *
                   weight[m];
        *reinterpret_cast<Block*>(out + c) = sum;
    }
}
