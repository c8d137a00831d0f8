#include "input/reference_reader.h"
#include "utils/globals.h"
#include "utils/ifile.h"
#include "utils/lfile.h"
#include "utils/ofile.h"
#include "utils/sutils.h"

reference_reader::reference_reader(filter_reader & _filter, snp_set * _main_sites) : filter(_filter), main_sites(_main_sites), ref_sites(new snp_set()) {
}

reference_reader::~reference_reader() {
	delete ref_sites;
}

bool reference_reader::empty() {
	return ind_id.empty();
}

int reference_reader::putInd(std::string & id, std::string & group1, std::string & group2) {
	if (!filter.checkGrp(group1, group2)) return false;
	ind_id.push_back(id);
	ind_male.push_back(false);
	hap0.push_back(std::vector < bool > (main_sites->size(), false));
	hap1.push_back(std::vector < bool > (main_sites->size(), false));
	return true;
}

void reference_reader::readReferenceImpute(std::string haplotypes, std::string legend, std::string samples) {
	std::vector < int > columns, ref_to_main;
	std::vector < bool > ref_flip;
	readSamples(samples, columns);
	readLegend(legend, ref_to_main, ref_flip);
	checkConsistency();
	readHaplotypes(haplotypes, columns, ref_to_main, ref_flip);
}

// columns gets, per sample line, the index of the kept sample or -1 when its groups are filtered out.
void reference_reader::readSamples(std::string samples, std::vector < int > & columns) {
	LOG.println("\nReading sample list [" + samples + "]");
	ifile fd;
	if (!fd.open(samples)) LOG.error("Impossible to open file [" + samples + "]");
	std::string buffer;
	std::vector < std::string > tokens;
	int sex_column = -1;
	if (getline(fd, buffer)) {
		sutils::tokenize(buffer, tokens);
		for (int c = 0 ; c < (int)tokens.size() ; c ++) if (tokens[c] == "sex" || tokens[c] == "gender") {
			sex_column = c;
			LOG.println("  * Column gender detected (idx=" + sutils::int2str(c) + ")");
		}
	}
	int line = 0, n_dropped = 0, n_males = 0, n_females = 0;
	while (getline(fd, buffer)) {
		int n_fields = sutils::tokenize(buffer, tokens);
		if (n_fields < 2) LOG.error("Line=" + sutils::int2str(line) + " found=" + sutils::int2str(n_fields) + " fields, expected more than 3");
		if (n_fields == 2) tokens.push_back("ALL");
		int kept = putInd(tokens[0], tokens[1], tokens[2]) ? (int)ind_id.size() - 1 : -1;
		columns.push_back(kept);
		if (kept < 0) n_dropped ++;
		else if (sex_column >= 0) {
			if (sex_column >= (int)tokens.size()) LOG.error("Line=" + sutils::int2str(line) + " found=" + sutils::int2str(n_fields) + " fields, the sex column (idx=" + sutils::int2str(sex_column) + ") is missing");
			if (tokens[sex_column] == "1") {
				ind_male[kept] = true;
				n_males ++;
			} else n_females ++;
		}
		line ++;
	}
	fd.close();
	LOG.println("  * " + sutils::int2str(2 * (int)ind_id.size()) + " reference haplotypes included");
	if (n_dropped) LOG.println("  * " + sutils::int2str(2 * n_dropped) + " reference haplotypes excluded");
	if (sex_column >= 0) LOG.println("  * " + sutils::int2str(n_males) + " males / " + sutils::int2str(n_females) + " females");
}

// Every legend line goes into ref_sites; ref_to_main and ref_flip get, per line, the study
// site it matches (or -1) and whether its alleles are swapped relative to that site.
void reference_reader::readLegend(std::string legend, std::vector < int > & ref_to_main, std::vector < bool > & ref_flip) {
	LOG.println("\nReading SNPs in [" + legend + "]");
	ifile fd;
	if (!fd.open(legend)) LOG.error("Impossible to open file [" + legend + "]");
	std::string buffer;
	std::vector < std::string > tokens;
	getline(fd, buffer);
	int line = 1, n_included = 0, n_excluded = 0;
	while (getline(fd, buffer)) {
		int n_fields = sutils::tokenize(buffer, tokens);
		if (n_fields < 4) LOG.error("Line=" + sutils::int2str(line) + " found=" + sutils::int2str(n_fields) + " fields, expected more  than 4");
		// The header is the file's first line.
		snp * s = new snp(tokens[0], sutils::str2bp(tokens[1], legend, line + 1), tokens[2], tokens[3], 6);
		s->id = tokens[0];
		ref_sites->put(s);
		int strand;
		snp * m = main_sites->getByRef(s->bp, s->a0, s->a1, strand);
		if (m) {
			ref_to_main.push_back(m->idx);
			ref_flip.push_back(strand == 1);
			n_included ++;
		} else {
			ref_to_main.push_back(-1);
			ref_flip.push_back(false);
			n_excluded ++;
		}
		line ++;
	}
	fd.close();
	LOG.println("  * " + sutils::int2str(n_included) + " reference panel sites included");
	if (n_excluded) LOG.println("  * " + sutils::int2str(n_excluded) + " reference panel sites excluded");
}

void reference_reader::addProblem(std::string type, snp * main_site, snp * ref_site, bool ref_flippable) {
	alignment_problem p;
	p.type = type;
	p.pos = main_site->bp;
	p.main_id = main_site->id;
	p.main_A = main_site->a0;
	p.main_B = main_site->a1;
	p.main_flippable = flippable;
	p.ref_id = ref_site ? ref_site->id : "NA";
	p.ref_A = ref_site ? ref_site->a0 : "NA";
	p.ref_B = ref_site ? ref_site->a1 : "NA";
	p.ref_flippable = ref_flippable;
	problems.push_back(p);
}

// A study site is well aligned when exactly one panel site at its position carries its
// alleles (swapped ones included when flippable). Any fault stops the run once all are listed.
void reference_reader::checkConsistency() {
	int n_missing = 0, n_misaligned = 0, n_multiple = 0;
	for (int i = 0 ; i < main_sites->size() ; i ++) {
		snp * m = main_sites->getByIndex(i);
		auto range = ref_sites->mapS.equal_range(m->bp);
		if (range.first == range.second) {
			addProblem("Missing", m, NULL, flippable);
			n_missing ++;
			continue;
		}
		int n_matches = 0;
		for (auto it = range.first ; it != range.second ; ++ it) if (m->strand(it->second->a0, it->second->a1) >= 0) n_matches ++;
		if (n_matches == 1) continue;
		for (auto it = range.first ; it != range.second ; ++ it) addProblem(n_matches ? "Duplicate" : "Strand", m, it->second, false);
		if (n_matches) n_multiple ++;
		else n_misaligned ++;
	}
	if (problems.empty()) return;
	writeProblems();
	LOG.error("Reference and Main panels are not well aligned:\n  * #Missing sites in reference panel = " + sutils::int2str(n_missing) + "\n  * #Misaligned sites between panels = " + sutils::int2str(n_misaligned) + "\n  * #Multiple alignments between panels = " + sutils::int2str(n_multiple));
}

// The data rows repeat the type column, so they carry one field more than the header.
void reference_reader::writeProblems() {
	std::string report = LOG.getPrefix() + ".snp.strand";
	std::string exclude = report + ".exclude";
	// One file after the other: an error ends the run with no other file left open.
	ofile fdr;
	if (!fdr.open(report, false, true)) LOG.error("Impossible to create file [" + report + "]");
	fdr << "type\tpos\tmain_id\tmain_A\tmain_B\tmain_flippable\tref_id\tref_A\tref_B\tref_flippable\n";
	for (const alignment_problem & p : problems) {
		fdr << p.type << "\t" << p.type << "\t" << p.pos << "\t" << p.main_id << "\t" << p.main_A << "\t" << p.main_B << "\t" << (int)p.main_flippable;
		fdr << "\t" << p.ref_id << "\t" << p.ref_A << "\t" << p.ref_B << "\t" << (int)p.ref_flippable << "\n";
	}
	fdr.close();
	ofile fde;
	if (!fde.open(exclude, false, true)) LOG.error("Impossible to create file [" + exclude + "]");
	for (const alignment_problem & p : problems) fde << p.pos << "\n";
	fde.close();
}

// One line per legend line; lines of panel sites absent from the study are not split. A
// swapped site reads "0" as the study's second allele and anything else as its first.
void reference_reader::readHaplotypes(std::string haplotypes, const std::vector < int > & columns, const std::vector < int > & ref_to_main, const std::vector < bool > & ref_flip) {
	LOG.println("\nReading reference haplotypes in [" + haplotypes + "]");
	ifile fd;
	if (!fd.open(haplotypes)) LOG.error("Impossible to open file [" + haplotypes + "]");
	std::string buffer;
	std::vector < std::string > tokens;
	int n_expected = 2 * (int)columns.size();
	int line = 0;
	while (getline(fd, buffer)) {
		if (line >= (int)ref_to_main.size()) LOG.error("Line=" + sutils::int2str(line + 1) + " of [" + haplotypes + "] has no matching line in the legend file");
		int site = ref_to_main[line];
		bool flip = ref_flip[line];
		line ++;
		if (site < 0) continue;
		int n_fields = sutils::tokenize(buffer, tokens);
		if (n_fields != n_expected) LOG.error("Line=" + sutils::int2str(line) + " found=" + sutils::int2str(n_fields) + " fields, expected=" + sutils::int2str(n_expected));
		const char * one = flip ? "0" : "1";
		for (int c = 0 ; c < (int)columns.size() ; c ++) if (columns[c] >= 0) {
			hap0[columns[c]][site] = (tokens[2 * c] == one);
			hap1[columns[c]][site] = (tokens[2 * c + 1] == one);
		}
	}
	fd.close();
}
