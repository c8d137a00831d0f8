#include "fuzz_files.h"
#include "input/filter_reader.h"
#include "input/genotype_reader.h"

// GEN and SAMPLE files, likelihoods kept as the call mode keeps them.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t * data, size_t size) {
	std::vector < std::string > f = writeFuzzFiles(data, size, { "in.gen", "in.sample" });
	runReader([&] {
		filter_reader F;
		F.initialise(0, 1000000000);
		genotype_reader R(F, false);
		R.readGenotypeImpute(f[0], f[1], 0.9, true);
	});
	return 0;
}
