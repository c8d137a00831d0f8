#include "input/genotype_reader.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

// A genotype probability or likelihood: the whole word a finite number from 0, checked
// before the triple is scaled and called.
static float probability(const std::string & word, const std::string & file, int line, const std::string & sample) {
	const char * begin = word.c_str();
	char * end;
	const double p = strtod(begin, &end);
	if (end == begin || *end != '\0' || !std::isfinite(p) || p < 0)
		LOG.error("Line " + sutils::int2str(line) + " of [" + file + "]: the genotype probability [" + word + "] of sample " + sample + " is not a number from 0");
	return p;
}

// SAMPLE file: two header lines (column names, column types), then one line per sample
// with ID_1, ID_2 and further columns. mask[j] tells whether sample line j was kept.
void genotype_reader::readSampleImpute(std::string sample, std::vector < bool > & mask) {
	LOG.println("\nReading sample list in [" + sample + "]");
	ifile fd;
	openInput(fd, sample);
	std::string line;
	std::vector < std::string > tokens;

	getline(fd, sample_header1);
	sutils::tokenize(sample_header1, tokens);
	int col_sex = -1, col_father = -1, col_mother = -1;
	for (int c = 0 ; c < (int)tokens.size() ; c ++) {
		if (tokens[c] == "sex" || tokens[c] == "gender") col_sex = c;
		if (tokens[c] == "ID_father") col_father = c;
		if (tokens[c] == "ID_mother") col_mother = c;
	}
	if (col_father >= 0) LOG.println("  * Column ID_father detected (idx=" + sutils::int2str(col_father) + ")");
	if (col_mother >= 0) LOG.println("  * Column ID_mother detected (idx=" + sutils::int2str(col_mother) + ")");
	if (col_sex >= 0) LOG.println("  * Column gender detected (idx=" + sutils::int2str(col_sex) + ")");
	if (col_sex < 0 && chrX) LOG.error("You need to specify the gender of the samples when using --chrX option!");
	getline(fd, sample_header2);
	int n_needed = std::max(3, std::max(col_sex, std::max(col_father, col_mother)) + 1);

	std::vector < std::string > fathers, mothers;
	int n_line = 0, n_excluded = 0;
	while (getline(fd, line)) {
		n_line ++;
		int n_fields = sutils::tokenize(line, tokens);
		if (n_fields < 3) LOG.error("Line=" + sutils::int2str(n_line) + " found=" + sutils::int2str(n_fields) + " fields, expected more that 3");
		if (n_fields < n_needed) LOG.error("Line=" + sutils::int2str(n_line) + " found=" + sutils::int2str(n_fields) + " fields, expected at least " + sutils::int2str(n_needed));
		if (!putInd(tokens[1])) {
			mask.push_back(false);
			n_excluded ++;
			continue;
		}
		mask.push_back(true);
		int ind = ind_id.size() - 1;
		fathers.push_back(col_father >= 0 ? tokens[col_father] : "0");
		mothers.push_back(col_mother >= 0 ? tokens[col_mother] : "0");
		if (col_sex >= 0) ind_male[ind] = (tokens[col_sex] == "1");
		ind_fields[ind].push_back(tokens[0]);
		ind_fields[ind].insert(ind_fields[ind].end(), tokens.begin() + 2, tokens.end());
	}
	fd.close();
	printSampleCounts(n_excluded, true);
	indexingPedigrees(fathers, mothers);
}

// GEN file: per site either 5 leading columns (chr, id, pos, a0, a1) or 6 (chr, id, id2,
// pos, a0, a1), then three genotype probabilities per sample line of the SAMPLE file.
void genotype_reader::readGenotypeImpute(std::string gen, std::string sample, double threshold, bool keep_likelihoods) {
	std::vector < bool > mask;
	readSampleImpute(sample, mask);
	int N = mask.size();

	if (threshold >= 0) LOG.println("\nReading site list and genotypes in [" + gen + "] with a calling threshold of " + sutils::double2str(threshold, 4));
	else LOG.println("\nReading site list and genotypes in [" + gen + "] with highest probability");
	ifile fd;
	openInput(fd, gen);
	reading = gen;
	std::string line;
	std::vector < std::string > tokens;
	int n_line = 0, n_excluded = 0;
	bool new_format = false;
	long n_failed = 0, n_passed = 0;
	while (getline(fd, line)) {
		n_line ++;
		int n_fields = sutils::tokenize(line, tokens);
		if (n_fields != 3 * N + 5 && n_fields != 3 * N + 6) LOG.error("Line=" + sutils::int2str(n_line) + " found=" + sutils::int2str(n_fields) + " fields, expected=" + sutils::int2str(3 * N + 5) + " or " + sutils::int2str(3 * N + 6));
		new_format = (n_fields == 3 * N + 6);
		int lead = new_format ? 6 : 5;
		int pos = sutils::str2bp(tokens[lead - 3], gen, n_line);
		snp * s = putSnp(tokens[0], pos, tokens[lead - 2], tokens[lead - 1], new_format ? 4 : 3);
		if (!s) {
			n_excluded ++;
			continue;
		}
		s->id = tokens[1];
		if (new_format) s->properties.push_back(tokens[2]);
		// Compares the 4th and 5th fields in both layouts: in the six-column layout these
		// are the position and the first allele, which never match in practice.
		bool same_alleles = (tokens[3] == tokens[4]);

		for (int j = 0, ind = 0 ; j < N ; j ++) {
			if (!mask[j]) continue;
			float p0 = probability(tokens[lead + 3 * j], gen, n_line, ind_id[ind]);
			float p1 = probability(tokens[lead + 3 * j + 1], gen, n_line, ind_id[ind]);
			float p2 = probability(tokens[lead + 3 * j + 2], gen, n_line, ind_id[ind]);
			double sum = (float)(p1 + p0 + p2);
			if (sum == 0.0) {
				p0 = 0.332f;
				p1 = 0.334f;
				p2 = 0.334f;
			} else {
				p0 = (double)p0 / sum;
				p1 = (double)p1 / sum;
				p2 = (double)p2 / sum;
			}
			int call = hard_call(p0, p1, p2, threshold, n_failed, n_passed);
			if (call < 0) stageGenotype(ind, false, false, true);
			else if (same_alleles) stageGenotype(ind, false, false, false);
			else stageGenotype(ind, call == 2, call > 0, false);
			if (keep_likelihoods) {
				likelihoods[ind].push_back(p0);
				likelihoods[ind].push_back((chrX && ind_male[ind]) ? 0.0f : p1);
				likelihoods[ind].push_back(p2);
			}
			ind ++;
		}
		endStagedSite();
	}
	flushStaged();
	fd.close();
	sites->indexing();

	if (new_format) LOG.println("  * New GEN/SAMPLE format detected");
	printSiteCounts(gen, n_excluded, "sites");
	double n_calls = n_passed + n_failed;
	if (n_passed) LOG.println("  * genotypes passing the threshold (= " + sutils::double2str(n_passed * 100.0 / n_calls, 1) + " %)");
	if (n_failed) LOG.println("  * genotypes NOT passing the threshold (= " + sutils::double2str(n_failed * 100.0 / n_calls, 1) + " %)");
}
