#include "fuzz_files.h"
#include "input/gmap_reader.h"
#include "input/pair_reader.h"

// A study VCF for its sites, a genetic map placed on them, and a list of site sets over them.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t * data, size_t size) {
	std::vector < std::string > f = writeFuzzFiles(data, size, { "in.vcf", "in.map", "in.sets" });
	runGenotypeReader([&] (genotype_reader & G) {
		G.readGenotypeVcf(f[0]);
		gmap_reader M;
		M.readGeneticMapFile(f[1], G.sites->size() ? G.sites->getByIndex(0)->chr : "");
		G.sites->setCentiMorgan(M.pos, M.cm);
		G.sites->interpolateCentiMorgan(M.pos, M.cm);
		pair_reader P;
		P.readPairs(f[2], G.sites.get());
		P.checkAndOrder();
	});
	return 0;
}
