#include "fuzz_files.h"

// BED, BIM and FAM files.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t * data, size_t size) {
	std::vector < std::string > f = writeFuzzFiles(data, size, { "in.bed", "in.bim", "in.fam" });
	runGenotypeReader([&] (genotype_reader & G) { G.readGenotypeBed(f[0], f[1], f[2]); });
	return 0;
}
