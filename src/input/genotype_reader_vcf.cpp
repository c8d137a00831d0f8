#include "input/genotype_reader.h"
#include "input/vcf_lines.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

// Splits a line on runs of blanks and tabs as sutils::tokenize does, but only records
// where each field starts and ends: a data line holds one field per sample, which is not
// worth a string of its own.
static int splitFields(const std::string & line, std::vector < int > & bounds) {
	bounds.clear();
	int n = line.size();
	for (int i = 0 ; ; ) {
		while (i < n && (line[i] == ' ' || line[i] == '\t')) i ++;
		if (i == n) break;
		bounds.push_back(i);
		while (i < n && line[i] != ' ' && line[i] != '\t') i ++;
		bounds.push_back(i);
	}
	return bounds.size() / 2;
}

static std::string field(const std::string & line, const std::vector < int > & bounds, int f) {
	return line.substr(bounds[2 * f], bounds[2 * f + 1] - bounds[2 * f]);
}

// Finds entry k of the colon-separated text [s, s + n). Returns false when it has fewer
// entries.
static bool colonEntry(const char * s, int n, int k, const char * & begin, int & length) {
	int from = 0;
	for (int e = 0 ; e < k ; e ++) {
		while (from < n && s[from] != ':') from ++;
		if (from == n) return false;
		from ++;
	}
	int to = from;
	while (to < n && s[to] != ':') to ++;
	begin = s + from;
	length = to - from;
	return true;
}

// Index of the last "GT" entry of a FORMAT field, -1 when there is none.
static int findGT(const std::string & format) {
	int key = -1;
	const char * begin;
	int length;
	for (int e = 0 ; colonEntry(format.data(), format.size(), e, begin, length) ; e ++) if (length == 2 && begin[0] == 'G' && begin[1] == 'T') key = e;
	return key;
}

// A record phased here has one REF and one ALT allele, a base sequence each: several ALT
// alleles, a deletion spanning from elsewhere ("*"), symbolic alleles ("<DEL>") and
// breakends are not.
static bool isBiallelic(const std::string & alt) {
	return alt != "*" && alt.find_first_of(",<>[]") == std::string::npos;
}

// What a genotype field holds. The separator, "/" or "|", does not count: phased and
// unphased calls read alike.
enum gt_code { HOM0, HET, HOM1, MISSING, HAPLOID0, HAPLOID1, BAD_ALLELE, BAD_PLOIDY, BAD_TEXT };

static gt_code decodeGT(const char * g, int n) {
	// The common case first.
	if (n == 3 && (g[1] == '/' || g[1] == '|') && (g[0] == '0' || g[0] == '1' || g[0] == '.') && (g[2] == '0' || g[2] == '1' || g[2] == '.')) {
		if (g[0] == '.' || g[2] == '.') return MISSING;
		return (gt_code)(g[0] - '0' + g[2] - '0');
	}
	// A field left out, or "." alone, is missing whatever the ploidy.
	if (n == 0 || (n == 1 && g[0] == '.')) return MISSING;
	int ploidy = 0, ones = 0;
	bool miss = false, above = false;
	for (int i = 0 ; i < n ; ) {
		int j = i;
		while (j < n && g[j] != '/' && g[j] != '|') j ++;
		if (j == i) return BAD_TEXT;
		if (j - i == 1 && g[i] == '.') miss = true;
		else {
			for (int k = i ; k < j ; k ++) if (g[k] < '0' || g[k] > '9') return BAD_TEXT;
			if (j - i > 1 || g[i] > '1') above = true;
			ones += g[i] == '1';
		}
		ploidy ++;
		i = j + 1;
		if (j + 1 == n) return BAD_TEXT;
	}
	if (ploidy > 2) return BAD_PLOIDY;
	if (above) return BAD_ALLELE;
	if (miss) return MISSING;
	if (ploidy == 1) return ones ? HAPLOID1 : HAPLOID0;
	return (gt_code)ones;
}

void genotype_reader::readGenotypeVcf(std::string vcf) {
	sample_header1 = "ID_1 ID_2 missing";
	sample_header2 = "0 0 0";
	LOG.println("\nReading unphased data in [" + vcf + "]");
	reading = vcf;
	vcf_lines fd;
	if (!fd.open(vcf)) LOG.error("Impossible to open file [" + vcf + "]");
	// An index lets a region be read without the rest of the file; without one the
	// filters below pass over the rest.
	if (!filter.chromosome.empty()) fd.region(filter.chromosome, filter.pos_from, filter.pos_to - 1);
	std::string line;
	std::vector < std::string > tokens;
	std::vector < int > bounds;
	std::vector < bool > mask;
	std::vector < std::string > fathers, mothers;
	int n_line = 0, n_data = 0, n_excluded = 0, n_skipped = 0;
	bool has_samples = false;
	while (fd.next(line)) {
		n_line ++;
		if (!line.empty() && line[0] == '#') {
			for (std::string kind : { "##contig=<", "##INFO=<", "##FILTER=<", "##FORMAT=<" })
				if (n_data == 0 && line.compare(0, kind.size(), kind) == 0) sites->vcf_header.push_back(line);
			if (line.compare(0, 6, "#CHROM") != 0) continue;
			int n_fields = sutils::tokenize(line, tokens);
			if (tokens[0] != "#CHROM") continue;
			// Samples are known from the header only: data read before it would lack them.
			if (n_data > 0 || has_samples) LOG.error("Line=" + sutils::int2str(n_line) + " sample header found after the first data line");
			if (n_fields < 10) LOG.error("File [" + vcf + "] has no samples, so no genotypes to phase");
			has_samples = true;
			int n_refused = 0;
			for (int t = 9 ; t < n_fields ; t ++) {
				bool kept = putInd(tokens[t]);
				mask.push_back(kept);
				if (!kept) {
					n_refused ++;
					continue;
				}
				ind_fields.back() = { tokens[t], "0" };
				fathers.push_back("0");
				mothers.push_back("0");
			}
			ind_haploid.assign(ind_id.size(), false);
			LOG.println("  * " + sutils::int2str(ind_id.size()) + " samples included");
			if (n_refused) LOG.println("  * " + sutils::int2str(n_refused) + " samples excluded");
			continue;
		}
		if (!has_samples) LOG.error("File [" + vcf + "] has no samples, so no genotypes to phase");

		int N = mask.size();
		int n_fields = splitFields(line, bounds);
		if (n_fields < 5) LOG.error("Line=" + sutils::int2str(n_line) + " found=" + sutils::int2str(n_fields) + " fields, expected=" + sutils::int2str(9 + N));
		std::string chr = field(line, bounds, 0);
		int pos = sutils::str2bp(field(line, bounds, 1), vcf, n_line);
		int idx = n_data ++;
		if (!keepSnp(chr, pos)) {
			n_excluded ++;
			continue;
		}
		if (!isBiallelic(field(line, bounds, 4))) {
			n_skipped ++;
			continue;
		}
		snp * s = putSnp(chr, pos, field(line, bounds, 3), field(line, bounds, 4), 5);
		int key = (n_fields > 8) ? findGT(field(line, bounds, 8)) : -1;
		if (key < 0) LOG.error("No GT found at site idx=" + sutils::int2str(idx) + " pos=" + sutils::int2str(pos));
		if (n_fields < 9 + N) LOG.error("Line=" + sutils::int2str(n_line) + " found=" + sutils::int2str(n_fields) + " fields, expected=" + sutils::int2str(9 + N));
		s->id = field(line, bounds, 2);
		for (int f = 5 ; f < 8 ; f ++) s->properties.push_back(field(line, bounds, f));

		for (int j = 0, ind = 0 ; j < N ; j ++) {
			if (!mask[j]) continue;
			const char * g = NULL;
			int length = 0;
			int from = bounds[2 * (9 + j)], to = bounds[2 * (9 + j) + 1];
			colonEntry(line.data() + from, to - from, key, g, length);
			gt_code code = decodeGT(g, length);
			if (code >= BAD_ALLELE) {
				std::string what = code == BAD_ALLELE ? "has an allele index above 1, while the site has one ALT allele" : (code == BAD_PLOIDY ? "has more than two alleles: only haploid and diploid genotypes are read" : "is not a genotype");
				LOG.error("Genotype [" + std::string(g, length) + "] of sample " + ind_id[ind] + " at site pos=" + sutils::int2str(pos) + " of [" + vcf + "] " + what);
			}
			if (code == HAPLOID0 || code == HAPLOID1) {
				if (!chrX) LOG.error("Genotype [" + std::string(g, length) + "] of sample " + ind_id[ind] + " at site pos=" + sutils::int2str(pos) + " of [" + vcf + "] is haploid: haploid genotypes are read on chromosome X only, with --chrX");
				ind_haploid[ind] = true;
				ind_male[ind] = true;
			}
			bool h1 = code == HET || code == HOM1 || code == HAPLOID1;
			stageGenotype(ind ++, h1 && code != HET, h1, code == MISSING);
		}
		endStagedSite();
	}
	flushStaged();
	fd.close();
	if (!has_samples) LOG.error("File [" + vcf + "] has no samples, so no genotypes to phase");
	sites->indexing();
	indexingPedigrees(fathers, mothers);
	int n_haploid = 0;
	for (bool h : ind_haploid) n_haploid += h;
	if (n_haploid) LOG.println("  * " + sutils::int2str(n_haploid) + " samples with haploid genotypes, taken as males");
	if (n_skipped) LOG.println("  * " + sutils::int2str(n_skipped) + " multiallelic or symbolic records skipped; split them with bcftools norm -m- to phase them");
	printSiteCounts(vcf, n_excluded, "SNPs");
}
