// Parameters of the MT2203 members: matrix_a, mask_b, mask_c. Every non-zero row has a twist
// word whose recurrence has an irreducible characteristic polynomial of degree 2203, hence
// period 2^2203 - 1, as proved by tools/mt2203/mt2203_search, which wrote the rows:
//   tools/mt2203/mt2203_search search FIRST LAST [STEP] >> tools/mt2203/rows.txt
//   tools/mt2203/mt2203_search emit tools/mt2203/rows.txt src/vsk/brng/mt2203
#include "hpk/vsk_brng_mt.h"

extern "C" {

constinit const uint32_t _vsk_mt2203_table[HPK_VSK_MT2203_TABLE_ROWS][3] = {
#include "vsk/brng/mt2203/mt2203_table.inc"
};

}  // extern "C"
