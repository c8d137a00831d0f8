#include "duohmm/Haplotypes.h"
#include "containers/genhap_set/genhap_set.h"
#include "objects/genotype_graph.h"
#include "objects/snp_set.h"
#include "output/filter_writer.h"
#include "utils/assertion.h"

#include <cstdint>
#include <cstdlib>
#include <cmath>
#include <fstream>
#include <iostream>
#include <sstream>

namespace {

void openOrFail(std::ifstream & f, const std::string & file) {
	f.open(file);
	if (!f.good()) {
		std::cerr << "Problem reading " << file << std::endl;
		exit(1);
	}
}

// Records that carry their relatives inside one unit cannot be refined.
void checkType(const genotype_graph * g) {
	sorvane_assert(g->type != 3 && g->type != 4);
}

}

void Haplotypes::addSamples(int n) {
	nhap = 2 * n;
	for (int k = 0 ; k < n ; k ++) order.push_back(k);
	left.assign(nhap, 0.0f);
	right.assign(nhap, 0.0f);
}

void Haplotypes::addSites(int n) {
	nsnp = n;
	haps.assign(nhap, chaplotype(nsnp));
	_missing.assign(nhap / 2, chaplotype(nsnp));
	positions.assign(nsnp, 0);
	rsid1.resize(nsnp);
	rsid2.resize(nsnp);
	allele_a.resize(nsnp);
	allele_b.resize(nsnp);
}

Haplotypes::Haplotypes(filter_writer & _filter, genhap_set & _set) : nsnp(0), nhap(0), filter(&_filter), set(&_set) {
	for (int i = 0 ; i < (int)set->vecG.size() ; i ++) {
		genotype_graph * g = set->vecG[i];
		checkType(g);
		if (!filter->checkInd(g->name)) continue;
		idlook[g->name] = ids.size();
		orderI.push_back({ (int)ids.size(), i, g->type });
		ids.push_back(g->name);
	}
	sorvane_assert(orderI.size() == set->vecG.size());
	addSamples(ids.size());
	addSites(set->sites->size());
	for (int l = 0 ; l < nsnp ; l ++) {
		snp * s = set->sites->getByIndex(l);
		rsid1[l] = s->chr;
		rsid2[l] = s->id;
		allele_a[l] = s->a0;
		allele_b[l] = s->a1;
		if (!filter->checkSnp(s->bp)) continue;
		positions[l] = s->bp;
		for (const std::array < int, 3 > & o : orderI) {
			const genotype_graph * g = set->vecG[o[1]];
			const std::vector < int > & h = set->ind2hap[o[1]];
			_missing[o[0]].set(l, g->Miss[l]);
			haps[2 * o[0]].set(l, set->vecH[h.front()].get(l));
			haps[2 * o[0] + 1].set(l, set->vecH[h.back()].get(l));
		}
	}
}

void Haplotypes::getSORVANE2(filter_writer & _filter, genhap_set & _set) {
	for (int l = 0 ; l < nsnp ; l ++) {
		if (!_filter.checkSnp(_set.sites->getByIndex(l)->bp)) continue;
		for (const std::array < int, 3 > & o : orderI) {
			checkType(_set.vecG[o[1]]);
			const std::vector < int > & h = _set.ind2hap[o[1]];
			_set.vecH[h.front()].set(l, haps[2 * o[0]].get(l));
			_set.vecH[h.back()].set(l, haps[2 * o[0] + 1].get(l));
		}
	}
}

Haplotypes::Haplotypes(std::string stem) : filename(stem), nsnp(0), nhap(0), filter(NULL), set(NULL) {
	std::ifstream fs;
	openOrFail(fs, stem + ".sample");
	std::string line, fid, id;
	std::getline(fs, line);
	std::getline(fs, line);
	while (std::getline(fs, line)) {
		std::istringstream words (line);
		if (!(words >> fid >> id)) continue;
		idlook[id] = ids.size();
		ids.push_back(id);
	}
	std::cout << ids.size() << " individuals in " << stem << ".sample" << std::endl;
	addSamples(ids.size());

	std::ifstream fh;
	openOrFail(fh, stem + ".haps");
	int n_lines = 0;
	while (std::getline(fh, line)) n_lines ++;
	std::cout << n_lines << " markers in " << stem << ".haps" << std::endl;
	addSites(n_lines);
	fh.clear();
	fh.seekg(0);
	for (int l = 0 ; l < nsnp ; l ++) {
		std::getline(fh, line);
		std::istringstream words (line);
		if (!(words >> rsid1[l] >> rsid2[l] >> positions[l] >> allele_a[l] >> allele_b[l])) {
			std::cerr << stem << ".haps at line " << l + 1 << std::endl;
			exit(1);
		}
		for (int h = 0 ; h < nhap ; h ++) {
			int allele;
			if (!(words >> allele)) {
				std::cerr << stem << ".haps at line " << l + 1 << std::endl;
				exit(1);
			}
			if (allele != 0 && allele != 1) {
				std::cerr << "INVALID VALUE IN HAPLOTYPE FILE ON LINE " << l + 1 << " COLUMN " << h + 6 << "\nExiting..." << std::endl;
				exit(1);
			}
			haps[h].set(l, allele);
		}
	}
	std::cout << nhap << " haplotypes over " << nsnp << " markers." << std::endl;
}

chaplotype * Haplotypes::getHap(const std::string & id) {
	std::map < std::string, int >::iterator it = idlook.find(id);
	sorvane_assert(it != idlook.end());
	return &haps[2 * it->second];
}

chaplotype * Haplotypes::getMissing(const std::string & id) {
	std::map < std::string, int >::iterator it = idlook.find(id);
	return it == idlook.end() ? NULL : &_missing[it->second];
}

float Haplotypes::rightWidth(int i, int hap, int site) const {
	if (site == nsnp - 1) return 1.0f;
	int j = site + 1;
	while (j < nsnp && haps[i].get(j) == haps[hap].get(j)) j ++;
	int64_t end = j == nsnp ? positions[nsnp - 1] : ((int64_t)positions[j - 1] + positions[j]) / 2;
	return (float)(end - positions[site]) / 1000.0f;
}

float Haplotypes::leftWidth(int i, int hap, int site) const {
	if (site == 0) return 1.0f;
	int j = site - 1;
	while (j >= 0 && haps[i].get(j) == haps[hap].get(j)) j --;
	int64_t start = j < 0 ? positions[0] : ((int64_t)positions[j + 1] + positions[j]) / 2;
	return (float)(positions[site] - start) / 1000.0f;
}

float Haplotypes::impute(int hap, int site) {
	float num = 0, den = 0;
	for (int i = 0 ; i < nhap ; i ++) {
		left[i] = right[i] = 0;
		if (i == hap || _missing[i / 2].get(site)) continue;
		right[i] = rightWidth(i, hap, site);
		left[i] = leftWidth(i, hap, site);
		num += haps[i].get(site) * left[i] * right[i];
		den += left[i] * right[i];
	}
	if (den > 0) return num / den;
	std::cerr << "WARNING: numeric issue at " << hap << " " << positions[site] << std::endl;
	return haps[hap].get(site);
}

void Haplotypes::impute(const std::string & id, int site) {
	chaplotype * h = getHap(id);
	int k = h - haps.data();
	float x0 = impute(k, site), x1 = impute(k + 1, site);
	h[0].set(site, std::lround(x0) != 0);
	h[1].set(site, std::lround(x1) != 0);
}

void Haplotypes::writeHaps(std::string stem) {
	std::string name = stem + ".haps";
	if (std::ifstream(name).good()) {
		std::cerr << "ERROR: " << name << " exists.  Will not overwrite.\nExiting..." << std::endl;
		exit(1);
	}
	std::cout << "Writing pedigree corrected haplotypes to " << name << std::endl;
	std::ofstream f(name);
	for (int l = 0 ; l < nsnp ; l ++) {
		f << rsid1[l] << " " << rsid2[l] << " " << positions[l] << " " << allele_a[l] << " " << allele_b[l];
		for (int h = 0 ; h < nhap ; h ++) f << " " << haps[h].get(l);
		f << "\n";
	}
	std::ifstream in(filename + ".sample", std::ios::binary);
	if (!in.good()) {
		std::cerr << "Problem reading " << filename << ".sample" << std::endl;
		exit(1);
	}
	std::ofstream out(stem + ".sample", std::ios::binary);
	out << in.rdbuf();
}
