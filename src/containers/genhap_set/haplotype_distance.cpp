#include "containers/genhap_set/haplotype_distance.h"

bool haplotype_distance::minimise = true;
