#include "fuzz_files.h"
#include "input/reference_reader.h"

// A study VCF whose sites the panel is aligned on, then the panel's haplotypes, legend
// and samples files.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t * data, size_t size) {
	std::vector < std::string > f = writeFuzzFiles(data, size, { "in.vcf", "in.haplotypes", "in.legend", "in.samples" });
	runGenotypeReader([&] (genotype_reader & G) {
		G.readGenotypeVcf(f[0]);
		reference_reader R(G.filter, G.sites.get());
		R.readReferenceImpute(f[1], f[2], f[3]);
	});
	return 0;
}
