#include "fuzz_files.h"
#include "input/filter_reader.h"
#include "input/genotype_reader.h"

// BED, BIM and FAM files.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t * data, size_t size) {
	std::vector < std::string > f = writeFuzzFiles(data, size, { "in.bed", "in.bim", "in.fam" });
	runReader([&] {
		filter_reader F;
		F.initialise(0, 1000000000);
		genotype_reader R(F, false);
		R.readGenotypeBed(f[0], f[1], f[2]);
	});
	return 0;
}
