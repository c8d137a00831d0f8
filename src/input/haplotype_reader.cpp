#include "input/haplotype_reader.h"
#include "utils/ifile.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

haplotype_reader::haplotype_reader(filter_reader & _filter) : filter(_filter), sites(new snp_set()) {
}

int haplotype_reader::getInd(std::string & id) {
	std::unordered_map < std::string, int >::const_iterator it = ind_index.find(id);
	return it == ind_index.end() ? -1 : it->second;
}

bool haplotype_reader::putInd(std::string & id) {
	if (getInd(id) >= 0) LOG.error("Two individuals or more have the following ID : " + id);
	if (!filter.checkInd(id)) return false;
	ind_index[id] = ind_id.size();
	ind_id.push_back(id);
	ind_fields.push_back(std::vector < std::string > ());
	hap0.push_back(std::vector < bool > ());
	hap1.push_back(std::vector < bool > ());
	return true;
}

// The order test comes before the filters: a refused site is still compared with the last
// included one. Neither duplicates nor multi-allelic sites are refused.
snp * haplotype_reader::putSnp(std::string chr, int pos, std::string a0, std::string a1) {
	if (pos < 0) return NULL;
	if (sites->size() > 0) {
		int prev = sites->getByIndex(sites->size() - 1)->bp;
		if (pos < prev) LOG.error("Wrong ordering in physical positions curr_pos=" + sutils::int2str(pos) + " prev_pos=" + sutils::int2str(prev));
	}
	if (!filter.checkSnp(pos)) return NULL;
	snp * s = new snp(chr, pos, a0, a1, 7);
	sites->put(s);
	return s;
}

void haplotype_reader::readHaplotypeImpute(std::string haps, std::string sample) {
	std::vector < bool > mask;
	readSamples(sample, mask);
	readHaps(haps, mask);
}

// mask gets, per sample line, whether the individual was accepted.
void haplotype_reader::readSamples(std::string sample, std::vector < bool > & mask) {
	LOG.println("\nReading sample list in [" + sample + "]");
	ifile fd;
	if (!fd.open(sample)) LOG.error("Impossible to open file [" + sample + "]");
	if (!getline(fd, sample_header1) || !getline(fd, sample_header2)) LOG.error("Sample file [" + sample + "] lacks its two header lines");
	std::string buffer;
	std::vector < std::string > tokens;
	int line = 1, n_excluded = 0;
	while (getline(fd, buffer)) {
		int n_fields = sutils::tokenize(buffer, tokens);
		if (n_fields < 3) LOG.error("Line=" + sutils::int2str(line) + " found=" + sutils::int2str(n_fields) + " fields, expected more that 3");
		bool accepted = putInd(tokens[1]);
		mask.push_back(accepted);
		if (accepted) {
			ind_fields.back().push_back(tokens[0]);
			ind_fields.back().insert(ind_fields.back().end(), tokens.begin() + 2, tokens.end());
		} else n_excluded ++;
		line ++;
	}
	fd.close();
	LOG.println("  * " + sutils::int2str((int)ind_id.size()) + " individuals included");
	if (n_excluded) LOG.println("  * " + sutils::int2str(n_excluded) + " individuals excluded");
}

// The layout is decided per line by its field count: 5 leading columns, or 6 with a
// second identifier that is kept in the site's properties for the writer.
void haplotype_reader::readHaps(std::string haps, const std::vector < bool > & mask) {
	LOG.println("\nReading site list and haplotypes in [" + haps + "]");
	ifile fd;
	if (!fd.open(haps)) LOG.error("Impossible to open file [" + haps + "]");
	std::string buffer;
	std::vector < std::string > tokens;
	int n_old = 2 * (int)mask.size() + 5, n_new = n_old + 1;
	int line = 1, n_included = 0, n_excluded = 0;
	bool new_format = false;
	while (getline(fd, buffer)) {
		int n_fields = sutils::tokenize(buffer, tokens);
		if (n_fields != n_old && n_fields != n_new) LOG.error("Line=" + sutils::int2str(line) + " found=" + sutils::int2str(n_fields) + " fields, expected=" + sutils::int2str(n_old) + " or " + sutils::int2str(n_new));
		new_format = (n_fields == n_new);
		int lead = new_format ? 6 : 5;
		snp * s = putSnp(tokens[0], sutils::str2bp(tokens[lead - 3], haps, line), tokens[lead - 2], tokens[lead - 1]);
		line ++;
		if (!s) {
			n_excluded ++;
			continue;
		}
		s->id = tokens[1];
		if (new_format) s->properties.push_back(tokens[2]);
		for (int i = 0, k = 0 ; i < (int)mask.size() ; i ++) if (mask[i]) {
			hap0[k].push_back(sutils::str2allele(tokens[lead + 2 * i], haps, line - 1));
			hap1[k].push_back(sutils::str2allele(tokens[lead + 2 * i + 1], haps, line - 1));
			k ++;
		}
		n_included ++;
	}
	fd.close();
	sites->indexing();
	if (new_format) LOG.println("  * New HAP/SAMPLE format detected");
	LOG.println("  * " + sutils::int2str(n_included) + " sites included");
	if (n_excluded) LOG.println("  * " + sutils::int2str(n_excluded) + " sites excluded");
}
