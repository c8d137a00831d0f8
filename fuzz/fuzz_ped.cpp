#include "fuzz_files.h"

// PED and MAP files, then a sex file over the samples read.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t * data, size_t size) {
	std::vector < std::string > f = writeFuzzFiles(data, size, { "in.ped", "in.map", "in.sex" });
	runGenotypeReader([&] (genotype_reader & G) {
		G.readGenotypePed(f[0], f[1], "0");
		G.readSex(f[2]);
	});
	return 0;
}
