#include "objects/haplotype_pairs.h"
#include "objects/genotype_graph.h"
#include "utils/lfile.h"
#include "utils/ofile.h"
#include "utils/sutils.h"

haplotype_pairs::haplotype_pairs(std::string & _id, std::vector < int > & _sites, int individuals) :
	id(_id), sites(_sites), C(individuals), P(individuals) {
}

int haplotype_pairs::findH(chaplotype & h) {
	for (unsigned int e = 0 ; e < H.size() ; e ++) {
		unsigned int k = 0;
		while (k < sites.size() && H[e][k] == (bool)h[sites[k]]) k ++;
		if (k == sites.size()) return e;
	}
	return -1;
}

int haplotype_pairs::addH(chaplotype & h) {
	std::vector < bool > w (sites.size());
	for (unsigned int k = 0 ; k < sites.size() ; k ++) w[k] = h[sites[k]];
	H.push_back(w);
	return H.size() - 1;
}

int haplotype_pairs::indexH(chaplotype & h) {
	int e = findH(h);
	return e >= 0 ? e : addH(h);
}

void haplotype_pairs::count(int ind, const std::vector < int > & c, bool unordered) {
	std::vector < std::vector < int > > & combinations = C[ind];
	for (unsigned int k = 0 ; k < combinations.size() ; k ++) {
		const std::vector < int > & e = combinations[k];
		bool same = (e == c) || (unordered && e[0] == c[1] && e[1] == c[0]);
		if (same) {
			P[ind][k] += 1.0f;
			return;
		}
	}
	combinations.push_back(c);
	P[ind].push_back(1.0f);
}

// A braced list is evaluated left to right: new haplotypes enter H in argument order.
void haplotype_pairs::addP(int ind, chaplotype & h0) {
	count(ind, { indexH(h0) }, false);
}

void haplotype_pairs::addP(int ind, chaplotype & h0, chaplotype & h1) {
	count(ind, { indexH(h0), indexH(h1) }, true);
}

void haplotype_pairs::addP(int ind, chaplotype & h0, chaplotype & h1, chaplotype & h2) {
	count(ind, { indexH(h0), indexH(h1), indexH(h2) }, false);
}

void haplotype_pairs::addP(int ind, chaplotype & h0, chaplotype & h1, chaplotype & h2, chaplotype & h3) {
	count(ind, { indexH(h0), indexH(h1), indexH(h2), indexH(h3) }, false);
}

void haplotype_pairs::normaliseProbs() {
	for (std::vector < float > & p : P) {
		if (p.empty()) continue;
		float sum = 0.0f;
		for (float v : p) sum += v;
		for (float & v : p) v /= sum;
	}
}

// A slot is one haplotype of one individual: a trio's combination weighs four slots, a
// haploid's one, so frequencies are shares of all sampled haplotypes.
void haplotype_pairs::computeFrequencies() {
	F.assign(H.size(), 0.0f);
	double total = 0.0;
	for (unsigned int i = 0 ; i < C.size() ; i ++) for (unsigned int k = 0 ; k < C[i].size() ; k ++)
		for (int e : C[i][k]) {
			F[e] += P[i][k];
			total += P[i][k];
		}
	for (float & f : F) f /= total;
}

void haplotype_pairs::writePairs(const std::vector < genotype_graph * > & units) {
	ofile f;
	std::string name = id + ".pairs.gz";
	if (!f.open(name)) LOG.error("Impossible to create file [" + name + "]");
	for (unsigned int i = 0 ; i < C.size() ; i ++) {
		const genotype_graph * g = units[i];
		for (unsigned int k = 0 ; k < C[i].size() ; k ++) {
			f << i << " " << (int)g->type << " " << g->name << " " << g->fname << " " << g->mname << " " << k << " " << sutils::double2str(P[i][k], 5);
			for (int e : C[i][k]) f << " " << e;
			f << "\n";
		}
	}
	f.close();
}

void haplotype_pairs::writeFreqs() {
	ofile f;
	std::string name = id + ".freqs.gz";
	if (!f.open(name)) LOG.error("Impossible to create file [" + name + "]");
	for (unsigned int e = 0 ; e < H.size() ; e ++) f << e << " " << sutils::bool2str(H[e]) << " " << F[e] << "\n";
	f.close();
}
