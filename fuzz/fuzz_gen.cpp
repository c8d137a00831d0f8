#include "fuzz_files.h"

// GEN and SAMPLE files, likelihoods kept as the call mode keeps them.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t * data, size_t size) {
	std::vector < std::string > f = writeFuzzFiles(data, size, { "in.gen", "in.sample" });
	runGenotypeReader([&] (genotype_reader & G) { G.readGenotypeImpute(f[0], f[1], 0.9, true); });
	return 0;
}
