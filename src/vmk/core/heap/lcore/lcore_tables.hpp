// The exported tables of the extended core are declared in the public header; the constants and
// polynomials come from the same generator (tools/tables/gen_lcore_tables.py).
#pragma once

#include "hpk/vmk_core.h"
#include "vmk/core/heap/lcore/lcore_poly.hpp"
