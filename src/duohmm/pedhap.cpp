#include "duohmm/pedhap.h"
#include "containers/genhap_set/genhap_set.h"
#include "duohmm/DuoHMM.h"
#include "duohmm/geneticMap.h"
#include "duohmm/hmm_utils.h"
#include "duohmm/TrioHMM.h"
#include "output/filter_writer.h"
#include "utils/assertion.h"
#include "utils/lfile.h"
#include "utils/ofile.h"
#include "utils/sutils.h"


namespace {

// Puts the parent's transmitted haplotype on child haplotype `side` at every heterozygous
// site of the child, after the low bits of the parent-child path.
void orient(chaplotype * child, const std::vector < unsigned char > & path, int side) {
	for (int l = 0 ; l < (int)path.size() ; l ++)
		if (child[0].get(l) != child[1].get(l) && (path[l] & 1) != side) unswitch(child, l, l + 1);
}

bool consistent(const chaplotype * D, const chaplotype * M, const chaplotype * C, int l) {
	return is_mendel_consistent(genotypeAt(C, l), genotypeAt(D, l), genotypeAt(M, l));
}

// Fills a missing child allele from the trio path at site l of state s, then, if the trio
// is still inconsistent, the alleles of missing parents from the child. A Mendel error
// between observed genotypes stands.
void fillTrioSite(chaplotype * D, chaplotype * M, chaplotype * C, const chaplotype * dmiss, const chaplotype * mmiss, const chaplotype * cmiss, int s, int l) {
	const int d = (s >> 2) & 1, m = (s >> 1) & 1, c = s & 1;
	if (cmiss->get(l)) {
		C[c].set(l, D[d].get(l));
		C[1 - c].set(l, M[m].get(l));
	}
	if (consistent(D, M, C, l)) return;
	const bool dm = dmiss->get(l), mm = mmiss->get(l);
	if (dm) D[d].set(l, C[c].get(l));
	if (mm) M[m].set(l, C[1 - c].get(l));
	if (dm && mm) return;
	if (dm && !consistent(D, M, C, l)) D[d].set(l, !D[d].get(l));
	if (mm && !consistent(D, M, C, l)) M[m].set(l, !M[m].get(l));
}

void writeMapRow(std::ostream & out, const std::string & child, const std::string & parent, const std::vector < float > & values) {
	out << child << " " << parent << "\t";
	for (float v : values) out << v << " ";
	out << "\n";
}

}

int unswitch(chaplotype * pair, int from, int to) {
	for (int l = from ; l < to ; l ++) {
		int a = pair[0].get(l), b = pair[1].get(l);
		if (a == b) continue;
		pair[0].set(l, b);
		pair[1].set(l, a);
	}
	return 0;
}

void pedhap::makeModels() {
	K = haps->positions.size();
	duo.reset(new DuoHMM(haps->positions, *gm));
	trio.reset(new TrioHMM(haps->positions, *gm));
}

pedhap::pedhap(std::string hap_file_stem, std::string sample_file, std::string map_file) : NITERATION(100) {
	haps.reset(new Haplotypes(hap_file_stem));
	ped.reset(new pedigree(sample_file, haps->ids, 'f'));
	gm.reset(new geneticMap(map_file));
	makeModels();
}

pedhap::pedhap(std::string hap_file_stem, std::string map_file, int niteration) : NITERATION(niteration) {
	haps.reset(new Haplotypes(hap_file_stem));
	ped.reset(new pedigree(hap_file_stem + ".sample", haps->ids, 's'));
	gm.reset(new geneticMap(map_file));
	makeModels();
	duo->NITERATION = niteration;
	trio->NITERATION = niteration;
}

pedhap::pedhap(filter_writer & filter, genhap_set & set, std::string sample_header1, std::string sample_header2, int niteration) : NITERATION(niteration) {
	haps.reset(new Haplotypes(filter, set));
	ped.reset(new pedigree(filter, set, sample_header1, sample_header2, haps->ids));
	gm.reset(new geneticMap(set));
	makeModels();
}

pedhap::~pedhap() = default;

bool pedhap::hasParent(const std::string & id) const {
	const individual & ind = ped->sampleinfo.at(id);
	return ind.dad != "0" || ind.mum != "0";
}

std::vector < std::vector < std::string > > pedhap::orderedFamilies() {
	std::vector < std::vector < std::string > > out;
	for (std::set < std::string > & family : ped->families) {
		out.push_back(std::vector < std::string > ());
		ped->orderSamples(family, out.back());
	}
	return out;
}

// Parents come before their children, and a family's parents are re-oriented once all its
// children are phased, so that every kid has its path when its parent is looked at.
int pedhap::correct() {
	int N = 0, done = 0;
	for (const std::vector < std::string > & family : orderedFamilies())
		for (const std::string & id : family) N += hasParent(id);
	LOG.printC("\nCorrecting haplotypes based on pedigree structure [0/" + sutils::int2str(N) + "]\r");
	for (const std::vector < std::string > & family : orderedFamilies()) {
		for (const std::string & id : family) {
			if (!hasParent(id)) continue;
			phase(id);
			LOG.printC("Correcting haplotypes based on pedigree structure [" + sutils::int2str(++ done) + "/" + sutils::int2str(N) + "]\r");
		}
		for (const std::string & id : family) minRecombinant(id);
	}
	LOG.printlnC("");
	return 0;
}

int pedhap::phase(const std::string & child) {
	std::map < std::string, individual >::const_iterator it = ped->sampleinfo.find(child);
	sorvane_assert(it != ped->sampleinfo.end());
	const std::string dad = it->second.dad, mum = it->second.mum;
	sorvane_assert(ped->sampleinfo.count(dad) || ped->sampleinfo.count(mum));
	if (dad != "0" && mum != "0") phaseTrio(dad, mum, child);
	else if (dad != "0") phaseDuo(dad, "1", child);
	else phaseDuo(mum, "2", child);
	return 0;
}

void pedhap::storeTrioPaths(const std::string & dad, const std::string & mum, const std::string & child) {
	std::vector < unsigned char > & fseq = stateseqs[std::make_pair(dad, child)];
	std::vector < unsigned char > & mseq = stateseqs[std::make_pair(mum, child)];
	fseq.resize(K);
	mseq.resize(K);
	for (int l = 0 ; l < K ; l ++) {
		const int s = trio->stateseq[l];
		fseq[l] = (s & 1) + 2 * (s >> 2);
		mseq[l] = 1 - (s & 1) + (s & 2);
	}
}

// A first fit orients the child, paternal alleles on haplotype 0; a second fit on the
// re-oriented child fills missing alleles.
void pedhap::phaseTrio(const std::string & dad, const std::string & mum, const std::string & child) {
	chaplotype * D = haps->getHap(dad), * M = haps->getHap(mum), * C = haps->getHap(child);
	const chaplotype * dmiss = haps->getMissing(dad), * mmiss = haps->getMissing(mum), * cmiss = haps->getMissing(child);
	trio->setHaps(D, M, C);
	trio->EM(NITERATION);
	trio->viterbi();
	storeTrioPaths(dad, mum, child);
	orient(C, stateseqs[std::make_pair(dad, child)], 0);
	trio->setHaps(D, M, C);
	trio->EM(NITERATION);
	trio->viterbi();
	storeTrioPaths(dad, mum, child);
	for (int l = 0 ; l < K ; l ++) fillTrioSite(D, M, C, dmiss, mmiss, cmiss, trio->stateseq[l], l);
}

// The second fit goes on from the parameters of the first.
void pedhap::phaseDuo(const std::string & parent, const std::string & sex, const std::string & child) {
	chaplotype * P = haps->getHap(parent), * C = haps->getHap(child);
	const chaplotype * pmiss = haps->getMissing(parent), * cmiss = haps->getMissing(child);
	std::vector < unsigned char > & path = stateseqs[std::make_pair(parent, child)];
	duo->setHaps(P, C, sex);
	duo->EM(NITERATION);
	duo->viterbi();
	path = duo->stateseq;
	orient(C, path, sex == "1" ? 0 : 1);
	duo->EM(NITERATION);
	duo->viterbi();
	path = duo->stateseq;
	for (int l = 0 ; l < K ; l ++) {
		const int c = path[l] & 1, p = path[l] >> 1;
		if (cmiss->get(l) && pmiss->get(l)) haps->impute(parent, l);
		if (cmiss->get(l)) C[c].set(l, P[p].get(l));
		if (pmiss->get(l)) P[p].set(l, C[c].get(l));
	}
}

// A change of transmitted haplotype in most kids over one interval is taken for a switch
// error of the parent. The kids' paths are not rewritten: they keep comparing interval by
// interval.
int pedhap::minRecombinant(const std::string & parent) {
	std::map < std::string, individual >::const_iterator it = ped->sampleinfo.find(parent);
	sorvane_assert(it != ped->sampleinfo.end());
	const int n = it->second.kids.size();
	if (n < 2) return 0;
	std::vector < const std::vector < unsigned char > * > paths;
	for (const std::string & kid : it->second.kids) {
		auto s = stateseqs.find(std::make_pair(parent, kid));
		sorvane_assert(s != stateseqs.end());
		paths.push_back(&s->second);
	}
	chaplotype * P = haps->getHap(parent);
	forEachHeterozygousInterval(P, K, [&](int p, int l) {
		int changes = 0;
		for (const std::vector < unsigned char > * path : paths) changes += ((*path)[p] >> 1) != ((*path)[l] >> 1);
		if (changes > n / 2) unswitch(P, l, K);
	});
	return 0;
}

// Reports are written like every output of the program, under a temporary name until complete.
int pedhap::genotypingError(std::string file) {
	ofile out(file);
	LOG.printlnC("Writing probable genotype errors to " + file);
	out << "ID\tfather\tmother\tRSID1\tPOS\tPROB_ERROR\n";
	for (const std::vector < std::string > & family : orderedFamilies()) for (const std::string & id : family) {
		const std::string dad = ped->sampleinfo.at(id).dad, mum = ped->sampleinfo.at(id).mum;
		LOG.printlnC("Detecting errors for: " + id + " - " + dad + " - " + mum);
		const std::vector < float > * prob;
		if (dad != "0" && mum != "0") {
			trio->setHaps(haps->getHap(dad), haps->getHap(mum), haps->getHap(id));
			trio->EM(NITERATION);
			prob = &trio->error_probability;
		} else if (dad != "0" || mum != "0") {
			const bool father = dad != "0";
			duo->setHaps(haps->getHap(father ? dad : mum), haps->getHap(id), father ? "1" : "2");
			duo->EM(NITERATION);
			prob = &duo->error_probability;
		} else continue;
		for (int l = 0 ; l < K ; l ++)
			if ((*prob)[l] > 0.1) out << id << "\t" << dad << "\t" << mum << "\t" << haps->rsid2[l] << "\t" << haps->positions[l] << "\t" << (double)(*prob)[l] << "\n";
	}
	out.close();
	return 0;
}

// The child stands first in every row, although the header reads "PARENT CHILD".
int pedhap::recombinationMap(std::string file) {
	ofile out(file);
	out << "PARENT CHILD";
	for (int l = 0 ; l < K ; l ++) out << " " << haps->positions[l];
	out << "\n";
	LOG.printlnC("Calculating recombination map and writing to " + file);
	for (const std::vector < std::string > & family : orderedFamilies()) for (const std::string & id : family) {
		if (!hasParent(id)) continue;
		const std::string dad = ped->sampleinfo.at(id).dad, mum = ped->sampleinfo.at(id).mum;
		LOG.printlnC("Mapping recombination for: " + id + " - " + dad + " - " + mum);
		if (dad != "0" && mum != "0") {
			trio->setHaps(haps->getHap(dad), haps->getHap(mum), haps->getHap(id));
			trio->estimateRecombination();
			writeMapRow(out, id, dad, trio->recombination_dad);
			writeMapRow(out, id, mum, trio->recombination_mum);
		} else {
			const bool father = dad != "0";
			duo->setHaps(haps->getHap(father ? dad : mum), haps->getHap(id), father ? "1" : "2");
			duo->estimateRecombination();
			writeMapRow(out, id, father ? dad : mum, duo->recombination_probability);
		}
	}
	out.close();
	return 0;
}
