#include "containers/genhap_set/genhap_set.h"
#include "input/haplotype_reader.h"
#include "input/reference_reader.h"
#include "objects/genotype_graph.h"
#include "objects/snp_set.h"
#include "utils/lfile.h"
#include "utils/putils.h"
#include "utils/sutils.h"

#include <map>

genhap_set::genhap_set() : sites(nullptr), n_founder(0), n_reference(0) {
}

genhap_set::~genhap_set() {
	for (genotype_graph * g : vecG) delete g;
}

void genhap_set::pushHaplotype(const std::vector < bool > & h, const std::string & name) {
	vecH.push_back(chaplotype(h));
	hap_names.push_back(name);
	founder_mask.push_back(true);
	reference_mask.push_back(true);
	n_reference ++;
}

void genhap_set::initialise(std::vector < genotype_graph * > & graphs, snp_set * _sites) {
	vecG = graphs;
	sites = _sites;
	const int N = vecG.size(), n_sites = sites->size();
	int n_haps = 0;
	for (genotype_graph * g : vecG) n_haps += g->type;
	vecH.reserve(n_haps);
	ind2hap.assign(N, std::vector < int > ());
	for (int i = 0 ; i < N ; i ++) for (int k = 0 ; k < vecG[i]->type ; k ++) {
		ind2hap[i].push_back(vecH.size());
		hap2ind.push_back(i);
		hap_names.push_back(vecG[i]->name);
		vecH.push_back(chaplotype(n_sites));
	}
	partner.assign(hap2ind.size(), -1);
	for (int i = 0 ; i < N ; i ++) if (vecG[i]->type == 2) {
		partner[ind2hap[i][0]] = ind2hap[i][1];
		partner[ind2hap[i][1]] = ind2hap[i][0];
	}
	linkRelatives();
	maskFounders();
	reference_mask.assign(founder_mask.size(), false);
}

// The graphs of each family, ascending, by family number.
void genhap_set::linkRelatives() {
	const int N = vecG.size();
	std::map < int, std::vector < int > > families;
	for (int j = 0 ; j < N ; j ++) families[vecG[j]->famID].push_back(j);
	relatives.assign(N, std::vector < int > ());
	for (int i = 0 ; i < N ; i ++) relatives[i] = families[vecG[i]->famID];
}

// Graph haplotypes open to conditioning: all but the tracks of parents that are not
// founders of their own unit; a duo's child track is always open.
void genhap_set::maskFounders() {
	for (genotype_graph * g : vecG) {
		switch (g->type) {
		case 1:
			founder_mask.push_back(true);
			n_founder += 1;
			break;
		case 2:
			founder_mask.insert(founder_mask.end(), 2, true);
			n_founder += 2;
			break;
		case 3: {
			bool parent = g->fmain || g->mmain;
			founder_mask.insert(founder_mask.end(), 2, parent);
			founder_mask.push_back(true);
			n_founder += (parent ? 2 : 0) + 1;
			break;
		}
		case 4:
			founder_mask.insert(founder_mask.end(), 2, g->fmain);
			founder_mask.insert(founder_mask.end(), 2, g->mmain);
			n_founder += (g->fmain ? 2 : 0) + (g->mmain ? 2 : 0);
			break;
		}
	}
}

// On chromosome X a male panel sample is haploid: one slot.
void genhap_set::initialise(reference_reader & R, bool chrX) {
	// Reserved at once: growing would copy every haplotype already held.
	int n_haps = 0;
	for (unsigned int i = 0 ; i < R.ind_id.size() ; i ++) n_haps += (chrX && R.ind_male[i]) ? 1 : 2;
	vecH.reserve(vecH.size() + n_haps);
	for (unsigned int i = 0 ; i < R.ind_id.size() ; i ++) {
		pushHaplotype(R.hap0[i], R.ind_id[i]);
		if (!(chrX && R.ind_male[i])) pushHaplotype(R.hap1[i], R.ind_id[i]);
	}
}

// Per graph, the entries of H in the order own, father, mother, as far as the unit has them.
void genhap_set::findSamples(haplotype_reader & H, std::vector < std::vector < int > > & entries) {
	entries.assign(vecG.size(), std::vector < int > ());
	for (unsigned int i = 0 ; i < vecG.size() ; i ++) {
		genotype_graph * g = vecG[i];
		std::vector < std::string * > ids = { &g->name };
		// A duo names one parent, the other staying "0".
		if (g->type == 4 || (g->type == 3 && !g->fname.empty() && g->fname != "0")) ids.push_back(&g->fname);
		if (g->type == 4 || (g->type == 3 && !g->mname.empty() && g->mname != "0")) ids.push_back(&g->mname);
		for (std::string * id : ids) {
			int e = H.getInd(*id);
			if (e < 0) LOG.error(*id + " unfound in the haplotype set!");
			entries[i].push_back(e);
		}
	}
}

void genhap_set::initialise(haplotype_reader & H) {
	LOG.println("\nMapping sites and samples of the haplotype set");
	std::vector < std::vector < int > > entries;
	findSamples(H, entries);
	// Per type and track: which entry (own, parent(s)) and which of its two haplotypes.
	static const int source[5][4][2] = {
		{ },
		{ { 0, 0 } },
		{ { 0, 0 }, { 0, 1 } },
		{ { 0, 0 }, { 1, 1 }, { 0, 1 } },
		{ { 0, 0 }, { 1, 1 }, { 2, 1 }, { 0, 1 } },
	};
	int n_found = 0, n_missed = 0;
	for (int s = 0 ; s < H.sites->size() ; s ++) {
		snp * hs = H.sites->getByIndex(s);
		int strand;
		snp * ms = sites->getByRef(hs->bp, hs->a0, hs->a1, strand);
		if (!ms) {
			n_missed ++;
			continue;
		}
		n_found ++;
		const bool flip = (strand == 1);
		for (unsigned int i = 0 ; i < vecG.size() ; i ++) for (int k = 0 ; k < vecG[i]->type ; k ++) {
			const int * src = source[vecG[i]->type][k];
			const std::vector < bool > & h = src[1] ? H.hap1[entries[i][src[0]]] : H.hap0[entries[i][src[0]]];
			vecH[ind2hap[i][k]].set(ms->idx, h[s] != flip);
		}
	}
	LOG.println("  * " + sutils::int2str(n_found) + " sites found");
	LOG.println("  * " + sutils::int2str(n_missed) + " sites not found");
}

// A site missing in every graph gives f = 0/0: the test f >= r fails and allele 1 is drawn.
void genhap_set::initialise() {
	LOG.println("\nInitialise missing data according to MAF");
	for (int l = 0 ; l < sites->size() ; l ++) {
		int n0 = 0, n1 = 0;
		for (unsigned int i = 0 ; i < vecG.size() ; i ++) if (!vecG[i]->Miss[l])
			for (int h : ind2hap[i]) {
				if (vecH[h][l]) n1 ++;
				else n0 ++;
			}
		const double f = (double)n0 / (n0 + n1);
		for (unsigned int i = 0 ; i < vecG.size() ; i ++) if (vecG[i]->Miss[l])
			for (int h : ind2hap[i]) vecH[h].set(l, !(f >= putils::getRandom()));
	}
}

void genhap_set::summarise() {
	long n_trans = 0, n_segments = 0;
	int n_type[5] = { 0, 0, 0, 0, 0 }, n_scaffolded = 0;
	for (genotype_graph * g : vecG) {
		for (unsigned int c : g->probsC) n_trans += c;
		n_segments += g->HapsC.size();
		if (g->type >= 1 && g->type <= 4) n_type[g->type] ++;
		if (g->scaffolded) n_scaffolded ++;
	}
	const long N = vecG.size();
	if (n_segments > 0) {
		LOG.println("  * " + sutils::long2str(N) + " graphs / " + sutils::long2str(n_segments) + " segments / ~" + sutils::long2str(sites->size() * N / n_segments) + " SNPs per segment / " + sutils::long2str(n_trans) + " transitions");
		LOG.println("  * " + sutils::int2str(n_type[1]) + " haploids / " + sutils::int2str(n_type[2]) + " unrelateds / " + sutils::int2str(n_type[3]) + " duos / " + sutils::int2str(n_type[4]) + " trios");
	}
	if (n_scaffolded > 0) LOG.println("  * " + sutils::int2str(n_scaffolded) + " individuals are scaffolded");
	if (n_founder > 0) LOG.println("  * " + sutils::int2str(n_founder) + " founder haplotypes");
	if (n_reference > 0) LOG.println("  * " + sutils::int2str(n_reference) + " reference haplotypes");
}
