#include "containers/genhap_set/haplotype_distance.h"

thread_local bool haplotype_distance::minimise = true;
