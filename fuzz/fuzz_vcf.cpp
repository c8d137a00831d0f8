#include "fuzz_files.h"
#include "input/filter_reader.h"
#include "input/genotype_reader.h"

// A VCF of unphased genotypes.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t * data, size_t size) {
	std::vector < std::string > f = writeFuzzFiles(data, size, { "in.vcf" });
	runReader([&] {
		filter_reader F;
		F.initialise(0, 1000000000);
		genotype_reader R(F, false);
		R.readGenotypeVcf(f[0]);
	});
	return 0;
}
