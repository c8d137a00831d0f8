#include "fuzz_files.h"
#include "input/filter_reader.h"
#include "input/genotype_reader.h"

// PED and MAP files, then a sex file over the samples read.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t * data, size_t size) {
	std::vector < std::string > f = writeFuzzFiles(data, size, { "in.ped", "in.map", "in.sex" });
	runReader([&] {
		filter_reader F;
		F.initialise(0, 1000000000);
		genotype_reader R(F, false);
		R.readGenotypePed(f[0], f[1], "0");
		R.readSex(f[2]);
	});
	return 0;
}
