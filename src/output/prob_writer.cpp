#include "output/prob_writer.h"
#include "objects/genotype_graph.h"
#include "objects/snp_set.h"
#include "utils/lfile.h"
#include "utils/ofile.h"

prob_writer::prob_writer(filter_writer & _filter, genhap_set & _set, std::vector < std::vector < float > > & _probs) :
	filter(_filter), set(_set), probs(_probs) {
}

void prob_writer::writeProbabilities(std::string file) {
	std::vector < bool > kept;
	for (genotype_graph * g : set.vecG) kept.push_back(filter.checkInd(g->name));

	LOG.println("\nWriting probabilities in [" + file + "] in TEXT format");
	ofile f;
	if (!f.open(file)) LOG.error("Impossible to create file [" + file + "]");
	for (int l = 0 ; l < set.sites->size() ; l ++) {
		snp * s = set.sites->getByIndex(l);
		if (!filter.checkSnp(s->bp)) continue;
		f << s->chr << " " << s->id << " " << s->bp;
		for (unsigned int i = 0 ; i < kept.size() ; i ++) if (kept[i]) f << " " << probs[i][l];
		f << "\n";
	}
	f.close();
}
