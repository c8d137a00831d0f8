#include "input/genotype_reader.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

// Overlays known phase on a filled store: at every site of the HAPS file that matches a
// study site, the genotypes of the scaffold samples are replaced by the scaffold's ordered
// pair and marked in `scaffold`.
void genotype_reader::readScaffoldImpute(std::string haps, std::string sample) {
	LOG.println("\nReading sample list in [" + sample + "]");
	ifile fd;
	openInput(fd, sample);
	std::string line;
	std::vector < std::string > tokens;
	getline(fd, line);
	getline(fd, line);
	// Column of the HAPS file to individual of the store, -1 for an unknown or repeated sample.
	std::vector < int > columns;
	int n_line = 0, n_mapped = 0;
	for ( ; getline(fd, line) ; n_line ++) {
		int n_fields = sutils::tokenize(line, tokens);
		if (n_fields < 3) LOG.error("Line=" + sutils::int2str(n_line) + " found=" + sutils::int2str(n_fields) + " fields, expected more than 3, in [" + sample + "]");
		int ind = getInd(tokens[1]);
		if (ind < 0 || !scaffold[ind].empty()) {
			columns.push_back(-1);
			continue;
		}
		columns.push_back(ind);
		scaffold[ind] = std::vector < bool > (sites->size(), false);
		n_mapped ++;
	}
	fd.close();
	LOG.println("  * " + sutils::int2str(n_mapped) + " samples with a scaffold out of " + sutils::int2str(ind_id.size()));

	LOG.println("\nReading haplotypes [" + haps + "]");
	ifile fh;
	openInput(fh, haps);
	int n_expected = 2 * columns.size() + 5;
	int n_sites_mapped = 0, n_unmapped = 0, n_misaligned = 0, n_multi = 0;
	for (n_line = 1 ; getline(fh, line) ; n_line ++) {
		int n_fields = sutils::tokenize(line, tokens);
		if (n_fields != n_expected) LOG.error("Line=" + sutils::int2str(n_line) + " found=" + sutils::int2str(n_fields) + " fields, expected =" + sutils::int2str(n_expected) + ", in [" + haps + "]");
		int strand;
		snp * s = sites->getByRef(sutils::str2bp(tokens[2], haps, n_line), tokens[3], tokens[4], strand);
		if (strand == -3) n_unmapped ++;
		if (strand == -2) n_misaligned ++;
		if (strand == -1) n_multi ++;
		if (!s) continue;
		n_sites_mapped ++;
		// On the swapped strand the alleles are inverted.
		bool flip = (strand == 1);
		for (int c = 0 ; c < (int)columns.size() ; c ++) {
			int ind = columns[c];
			if (ind < 0) continue;
			hap0[ind][s->idx] = sutils::str2allele(tokens[5 + 2 * c], haps, n_line) != flip;
			hap1[ind][s->idx] = sutils::str2allele(tokens[6 + 2 * c], haps, n_line) != flip;
			missing[ind][s->idx] = false;
			scaffold[ind][s->idx] = true;
		}
	}
	fh.close();
	LOG.println("  * " + sutils::int2str(n_sites_mapped) + " mapped sites");
	LOG.println("  * " + sutils::int2str(n_unmapped) + " unmapped sites");
	LOG.println("  * " + sutils::int2str(n_misaligned) + " misaligned sites");
	LOG.println("  * " + sutils::int2str(n_multi) + " multi match sites");
}
