#include "fuzz_files.h"

// A VCF of unphased genotypes.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t * data, size_t size) {
	std::vector < std::string > f = writeFuzzFiles(data, size, { "in.vcf" });
	runGenotypeReader([&] (genotype_reader & G) { G.readGenotypeVcf(f[0]); });
	return 0;
}
