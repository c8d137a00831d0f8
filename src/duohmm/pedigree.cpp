#include "duohmm/pedigree.h"
#include "containers/genhap_set/genhap_set.h"
#include "objects/genotype_graph.h"
#include "output/filter_writer.h"
#include "utils/assertion.h"
#include "utils/myException.h"
#include "utils/sutils.h"

#include <cstdlib>
#include <fstream>
#include <iostream>

namespace {

void fail(const std::string & message) {
	std::cerr << message << std::endl;
	exit(1);
}

void openOrFail(std::ifstream & f, const std::string & file) {
	f.open(file);
	if (!f.good()) fail("Problem reading " + file);
}

}

pedigree::pedigree(std::string file, const std::vector < std::string > & ids, char kind) {
	if (kind == 'f') fromFam(file, ids);
	else if (kind == 's') fromSample(file, ids);
}

void pedigree::findColumns(const std::string & header, int & father, int & mother, int & sex) {
	std::string line = header;
	std::vector < std::string > words;
	sutils::tokenize(line, words);
	father = mother = sex = -1;
	for (int c = 0 ; c < (int)words.size() ; c ++) {
		if (words[c] == "father" || words[c] == "ID_father") father = c;
		if (words[c] == "mother" || words[c] == "ID_mother") mother = c;
		if (words[c] == "sex" || words[c] == "gender") sex = c;
	}
}

// The record's fields hold the sample columns but the identifier: header column c is
// field c - 1.
pedigree::pedigree(filter_writer &, genhap_set & set, std::string sample_header1, std::string, const std::vector < std::string > & ids) {
	int col_father, col_mother, col_sex;
	findColumns(sample_header1, col_father, col_mother, col_sex);
	std::set < std::string > known (ids.begin(), ids.end());
	bool warned = false;
	for (int i = 0 ; i < (int)set.vecG.size() ; i ++) {
		genotype_graph * g = set.vecG[i];
		sorvane_assert(g->type != 3 && g->type != 4);
		const std::vector < std::string > & fields = g->properties;
		int n = fields.size();
		if (col_father < 1 || col_father > n) fail("ERROR: duohmm module could not find father id column");
		if (col_mother < 1 || col_mother > n) fail("ERROR: duohmm module could not find mother id column");
		individual ind;
		ind.fid = fields.empty() ? g->name : fields[0];
		ind.id = g->name;
		ind.dad = fields[col_father - 1];
		ind.mum = fields[col_mother - 1];
		if (col_sex >= 1 && col_sex <= n) ind.sex = fields[col_sex - 1];
		else {
			if (!warned) std::cerr << "WARNING: sample sex was not provided" << std::endl;
			warned = true;
			ind.sex = "unknown";
		}
		ind.index = i;
		sorvane_assert(ind.id != "0");
		if (known.count(ind.id)) add(ind, known);
	}
	buildPeds();
}

// Parents that are not among the samples become "0".
void pedigree::add(const individual & ind, const std::set < std::string > & known) {
	individual & x = sampleinfo[ind.id] = ind;
	x.pedigree_id = -1;
	if (!known.count(x.dad)) x.dad = "0";
	if (!known.count(x.mum)) x.mum = "0";
}

void pedigree::fromSample(std::string file, const std::vector < std::string > & ids) {
	std::ifstream f;
	openOrFail(f, file);
	std::string header;
	std::getline(f, header);
	int col_father, col_mother, col_sex;
	findColumns(header, col_father, col_mother, col_sex);
	col_sex = -1;
	std::vector < std::string > words;
	int ncol = sutils::tokenize(header, words);
	for (int c = 0 ; c < ncol ; c ++) if (words[c] == "sex") col_sex = c;
	if (col_father < 0) fail("ERROR: father column was not in " + file);
	if (col_mother < 0) fail("ERROR: mother column was not in " + file);
	if (col_sex < 0) fail("ERROR: sex column was not in " + file);
	std::cout << ncol << " columns in " << file << std::endl;
	f.ignore(10000, '\n');
	std::set < std::string > known (ids.begin(), ids.end());
	std::vector < std::string > row (ncol);
	int index = 0;
	while (true) {
		for (int c = 0 ; c < ncol ; c ++) f >> row[c];
		if (!f) break;
		if (row[1] == "0") fail("ERROR: Individual has ID=0\nExiting...");
		individual ind;
		ind.fid = row[0];
		ind.id = row[1];
		ind.dad = row[col_father];
		ind.mum = row[col_mother];
		ind.sex = row[col_sex];
		ind.index = index ++;
		add(ind, known);
	}
	buildPeds();
}

void pedigree::fromFam(std::string file, const std::vector < std::string > & ids) {
	std::ifstream f;
	openOrFail(f, file);
	std::set < std::string > known (ids.begin(), ids.end());
	individual ind;
	int index = 0;
	while (f >> ind.fid >> ind.id >> ind.dad >> ind.mum >> ind.sex) {
		if (ind.id == "0") fail("ERROR: Individual has ID=0\nExiting...");
		ind.index = index ++;
		add(ind, known);
	}
	std::cout << index << " samples in " << file << std::endl;
	buildPeds();
}

// Families come out ordered by their lowest sample id.
void pedigree::buildPeds() {
	std::set < std::string > placed;
	for (auto & s : sampleinfo) {
		if (placed.count(s.first)) continue;
		std::set < std::string > family;
		buildFam(s.first, sampleinfo, family);
		placed.insert(family.begin(), family.end());
		families.push_back(family);
	}
}

void buildFam(std::string id, std::map < std::string, individual > & sampleinfo, std::set < std::string > & family) {
	if (family.count(id) || !sampleinfo.count(id)) return;
	family.insert(id);
	individual & ind = sampleinfo[id];
	if (sampleinfo.count(ind.dad)) buildFam(ind.dad, sampleinfo, family);
	if (sampleinfo.count(ind.mum)) buildFam(ind.mum, sampleinfo, family);
	for (auto & s : sampleinfo) {
		for (int parent = 0 ; parent < 2 ; parent ++) {
			if ((parent ? s.second.mum : s.second.dad) != id) continue;
			if (ind.sex != (parent ? "2" : "1"))
				std::cerr << "WARNING: sex of sample " << id << " does not match pedigree information.\n";
			buildFam(s.first, sampleinfo, family);
			ind.kids.insert(s.first);
		}
	}
}

// Members with a parent left in the set wait for the next round. The readers refuse cycles
// of descent; one met here all the same stops the refinement rather than looping.
void pedigree::orderSamples(std::set < std::string > & family, std::vector < std::string > & out) {
	if (family.size() == 1) {
		out.push_back(*family.begin());
		family.clear();
	}
	if (family.size() < 2) return;
	std::set < std::string > deferred;
	for (const std::string & id : family) {
		const individual & ind = sampleinfo[id];
		bool dad = ind.dad != "0" && family.count(ind.dad);
		bool mum = ind.mum != "0" && family.count(ind.mum);
		if (dad || mum) deferred.insert(id);
		else out.push_back(id);
	}
	if (deferred.size() == family.size()) throw myException("Pedigree refinement: a cycle of descent among " + *family.begin() + " and its relatives");
	orderSamples(deferred, out);
}
