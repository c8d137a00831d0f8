#include "input/genotype_reader.h"
#include "input/vcf_lines.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

// Splits a line on runs of blanks and tabs as sutils::tokenize does, dropping a carriage
// return that ends it, but only records where each field starts and ends: a data line
// holds one field per sample, which is not worth a string of its own.
static int splitFields(const std::string & line, std::vector < int > & bounds) {
	bounds.clear();
	int n = line.size();
	if (n > 0 && line[n - 1] == '\r') n --;
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

// A diploid call is read from its characters 0 and 2 only, whatever the separator, so
// phased and unphased calls read alike. A single character is a haploid call, read as
// homozygous. Anything shorter than a call is missing.
static void decodeGT(const char * g, int length, bool & h0, bool & h1, bool & miss) {
	char a, b;
	if (length >= 3) { a = g[0]; b = g[2]; }
	else if (length == 1) { a = b = g[0]; }
	else { a = b = '.'; }
	miss = (a == '.' || b == '.');
	bool hom0 = (a == '0' && b == '0');
	bool het = (a == '0' && b == '1') || (a == '1' && b == '0');
	h0 = !miss && !hom0 && !het;
	h1 = !miss && !hom0;
}

void genotype_reader::readGenotypeVcf(std::string vcf) {
	sample_header1 = "ID_1 ID_2 missing";
	sample_header2 = "0 0 0";
	LOG.println("\nReading unphased data in [" + vcf + "]");
	vcf_lines fd;
	if (!fd.open(vcf)) LOG.error("Impossible to open file [" + vcf + "]");
	std::string line;
	std::vector < std::string > tokens;
	std::vector < int > bounds;
	std::vector < bool > mask;
	std::vector < std::string > fathers, mothers;
	int n_line = 0, n_data = 0, n_excluded = 0;
	while (fd.next(line)) {
		n_line ++;
		if (!line.empty() && line[0] == '#') {
			if (line.compare(0, 6, "#CHROM") != 0) continue;
			int n_fields = sutils::tokenize(line, tokens);
			if (tokens[0] != "#CHROM") continue;
			// Samples are known from the header only: data read before it would lack them.
			if (n_data > 0) LOG.error("Line=" + sutils::int2str(n_line) + " sample header found after the first data line");
			int n_before = ind_id.size();
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
			LOG.println("  * " + sutils::int2str(ind_id.size() - n_before) + " samples included");
			if (n_refused) LOG.println("  * " + sutils::int2str(n_refused) + " samples excluded");
			continue;
		}

		int N = mask.size();
		int n_fields = splitFields(line, bounds);
		if (n_fields < 5) LOG.error("Line=" + sutils::int2str(n_line) + " found=" + sutils::int2str(n_fields) + " fields, expected=" + sutils::int2str(9 + N));
		int pos = sutils::str2bp(field(line, bounds, 1), vcf, n_line);
		snp * s = putSnp(field(line, bounds, 0), pos, field(line, bounds, 3), field(line, bounds, 4), 5);
		int idx = n_data ++;
		if (!s) {
			n_excluded ++;
			continue;
		}
		int key = (n_fields > 8) ? findGT(field(line, bounds, 8)) : -1;
		if (key < 0) LOG.error("No GT found at site idx=" + sutils::int2str(idx) + " pos=" + sutils::int2str(pos));
		if (n_fields < 9 + N) LOG.error("Line=" + sutils::int2str(n_line) + " found=" + sutils::int2str(n_fields) + " fields, expected=" + sutils::int2str(9 + N));
		s->id = field(line, bounds, 2);
		for (int f = 5 ; f < 8 ; f ++) s->properties.push_back(field(line, bounds, f));

		for (int j = 0, ind = 0 ; j < N ; j ++) {
			if (!mask[j]) continue;
			const char * g = NULL;
			int length = 0;
			bool h0, h1, miss;
			int from = bounds[2 * (9 + j)], to = bounds[2 * (9 + j) + 1];
			colonEntry(line.data() + from, to - from, key, g, length);
			decodeGT(g, length, h0, h1, miss);
			stageGenotype(ind ++, h0, h1, miss);
		}
		endStagedSite();
	}
	flushStaged();
	fd.close();
	sites->indexing();
	indexingPedigrees(fathers, mothers);
	printSiteCounts(vcf, n_excluded, "SNPs");
}
