#include "readmine/het_sites.h"
#include "input/filter_reader.h"
#include "input/genotype_reader.h"

#include <algorithm>

het_sites::het_sites() {
}

void het_sites::readVcf(std::string vcf, std::string region, const std::vector < std::string > & names) {
	filter_reader filter;
	if (!region.empty()) filter.setRegion(region);
	for (const std::string & name : names) filter.ind_include[name] = true;
	// Haploid genotypes (of males on chromosome X) are read, and are never heterozygous.
	genotype_reader G(filter, true);
	G.readGenotypeVcf(vcf);
	sites = std::move(G.sites);
	chr = sites->getByIndex(0)->chr;
	for (int s = 0 ; s < sites->size() ; s ++) position.push_back(sites->getByIndex(s)->bp);
	sample_index = G.ind_index;
	het.resize(G.ind_id.size());
	for (int i = 0 ; i < (int)het.size() ; i ++) {
		het[i].resize(position.size());
		for (int s = 0 ; s < (int)position.size() ; s ++) het[i][s] = !G.missing[i][s] && G.hap0[i][s] != G.hap1[i][s];
	}
}

int het_sites::getSample(const std::string & name) {
	std::unordered_map < std::string, int >::const_iterator it = sample_index.find(name);
	return it == sample_index.end() ? -1 : it->second;
}

int het_sites::firstFrom(int bp) {
	return std::lower_bound(position.begin(), position.end(), bp) - position.begin();
}

int het_sites::size() {
	return position.size();
}
