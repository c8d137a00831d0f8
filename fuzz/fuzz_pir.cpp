#include "fuzz_files.h"
#include "models/sequencer.h"

// A study VCF for its sites and a PIR file over them: every record is read, and its reads
// weigh the graph of the first sample and place its heterozygotes onto its two genotype
// alleles, every other heterozygote taken as an anchor.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t * data, size_t size) {
	std::vector < std::string > f = writeFuzzFiles(data, size, { "in.vcf", "in.pir" });
	runGenotypeReader([&] (genotype_reader & G) {
		G.readGenotypeVcf(f[0]);
		snp_set * S = G.sites.get();
		if (G.ind_id.empty() || S->size() == 0) return;
		genotype_graph graph (2, 0);
		graph.buildUnr(G.hap0[0], G.hap1[0], G.missing[0]);
		graph.initialise();
		chaplotype h0 (G.hap0[0]), h1 (G.hap1[0]);
		std::vector < float > status;
		for (int l = 0 ; l < S->size() ; l ++) status.push_back(h0[l] == h1[l] ? -4.0f : (l % 2 ? -1.0f : -3.0f));

		ifile fd (f[1]);
		std::vector < int > mapping;
		int line, a, b;
		sequencer::readMap(fd, line, S, mapping, a, b);
		while (true) {
			sequencer Q (S, &mapping);
			std::string id;
			Q.readPIRs(fd, line, id, a, b);
			if (id.empty()) break;
			Q.pileupPIRs(&graph, a, b);
			Q.processPIRs(&graph, a, b);
			Q.pileupPIRs(h0, h1, a, b);
			Q.processPIRs(h0, h1, a, b, status);
		}
	});
	return 0;
}
