#include "fuzz_files.h"
#include "input/filter_reader.h"
#include "input/haplotype_reader.h"

// HAPS and SAMPLE files of phased haplotypes.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t * data, size_t size) {
	std::vector < std::string > f = writeFuzzFiles(data, size, { "in.haps", "in.sample" });
	runReader([&] {
		filter_reader F;
		F.initialise(0, 1000000000);
		haplotype_reader R(F);
		R.readHaplotypeImpute(f[0], f[1]);
	});
	return 0;
}
