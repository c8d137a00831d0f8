#include "input/genotype_reader.h"
#include "utils/assertion.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

genotype_reader::genotype_reader(filter_reader & _filter, bool _chrX) : filter(_filter), chrX(_chrX), sites(new snp_set()), n_staged(0) {
}

void genotype_reader::openInput(ifile & fd, std::string file, bool binary) {
	if (!fd.open(file, binary)) LOG.error("Impossible to open file [" + file + "]");
}

int genotype_reader::putInd(std::string & id) {
	if (id == "0") LOG.error("A sample is named 0, which stands for an absent parent: give it another identifier");
	if (getInd(id) >= 0) LOG.error("Two individuals or more have the following ID : " + id);
	if (!filter.checkInd(id)) return false;
	int index = ind_id.size();
	ind_index[id] = ind_id.size();
	ind_id.push_back(id);
	ind_male.push_back(false);
	ind_father.push_back(-1);
	ind_mother.push_back(-1);
	ind_children.push_back(std::vector < int > ());
	ind_family.push_back(-1);
	ind_order.push_back(index);
	ind_fields.push_back(std::vector < std::string > ());
	hap0.push_back(std::vector < bool > ());
	hap1.push_back(std::vector < bool > ());
	missing.push_back(std::vector < bool > ());
	likelihoods.push_back(std::vector < float > ());
	scaffold.push_back(std::vector < bool > ());
	return true;
}

bool genotype_reader::keepSnp(const std::string & chr, int pos) {
	return pos >= 0 && filter.checkSnp(pos) && filter.checkChromosome(chr);
}

snp * genotype_reader::putSnp(std::string chr, int pos, std::string a0, std::string a1, char source) {
	if (!keepSnp(chr, pos)) return NULL;
	if (sites->size() > 0) {
		snp * last = sites->getByIndex(sites->size() - 1);
		if (chr != last->chr) LOG.error("[" + reading + "] holds sites of more than one chromosome (" + last->chr + ", then " + chr + " at position " + sutils::int2str(pos) + "): phase one chromosome at a time, choosing it with --region (for instance --region " + last->chr + ")");
		if (pos < last->bp) LOG.error("Wrong ordering in physical positions curr_pos=" + sutils::int2str(pos) + " prev_pos=" + sutils::int2str(last->bp));
	}
	if (sites->getByRef(pos, a0, a1)) LOG.error("Duplicate site pos=" + sutils::int2str(pos) + " ref=" + a0 + " alt=" + a1);
	snp * s = new snp(chr, pos, a0, a1, source);
	sites->put(s);
	return s;
}

int genotype_reader::getInd(std::string & id) {
	std::unordered_map < std::string, int >::const_iterator it = ind_index.find(id);
	return it == ind_index.end() ? -1 : it->second;
}

bool genotype_reader::isFounder(int ind) {
	return ind_father[ind] < 0 && ind_mother[ind] < 0;
}

void genotype_reader::indexingPedigrees(std::vector < std::string > & fathers, std::vector < std::string > & mothers) {
	sorvane_assert(fathers.size() == ind_id.size() && mothers.size() == ind_id.size());
	int n_unr = 0, n_duo = 0, n_trio = 0;
	for (int i = 0 ; i < (int)ind_id.size() ; i ++) {
		ind_father[i] = getInd(fathers[i]);
		if (ind_father[i] >= 0) ind_children[ind_father[i]].push_back(i);
		ind_mother[i] = getInd(mothers[i]);
		if (ind_mother[i] >= 0) ind_children[ind_mother[i]].push_back(i);
		if (ind_father[i] == i || ind_mother[i] == i) LOG.error("Individual " + ind_id[i] + " is given as its own parent");
		if (ind_father[i] >= 0 && ind_father[i] == ind_mother[i]) LOG.error("Individual " + ind_id[ind_father[i]] + " is given as both father and mother of " + ind_id[i]);
		int n_parents = (ind_father[i] >= 0) + (ind_mother[i] >= 0);
		if (n_parents == 2) n_trio ++;
		if (n_parents == 1) n_duo ++;
	}
	for (int i = 0 ; i < (int)ind_id.size() ; i ++) if (isFounder(i) && ind_children[i].empty()) n_unr ++;
	checkDescent();

	int family = 0;
	for (int i = 0 ; i < (int)ind_id.size() ; i ++) {
		std::vector < int > members;
		indexingFamily(i, family, members);
		if (!members.empty()) family ++;
	}
	LOG.println("  * " + sutils::int2str(n_unr) + " unrelateds / " + sutils::int2str(n_duo) + " duos / " + sutils::int2str(n_trio) + " trios in " + sutils::int2str(family) + " different families");
}

// No one may be among his own ancestors. A walk up from each individual, through fathers
// then mothers, with the path kept on a stack rather than in recursion: pedigrees may be deep.
void genotype_reader::checkDescent() {
	const int N = ind_id.size();
	// 0 not seen, 1 on the current path, 2 all ancestors seen.
	std::vector < char > state (N, 0);
	std::vector < std::pair < int, int > > path;
	for (int root = 0 ; root < N ; root ++) {
		if (state[root]) continue;
		path.assign(1, std::make_pair(root, 0));
		state[root] = 1;
		while (!path.empty()) {
			std::pair < int, int > & top = path.back();
			const int parent = top.second == 0 ? ind_father[top.first] : top.second == 1 ? ind_mother[top.first] : -2;
			if (parent == -2) {
				state[top.first] = 2;
				path.pop_back();
				continue;
			}
			top.second ++;
			if (parent < 0 || state[parent] == 2) continue;
			if (state[parent] == 1) {
				// The path runs from child to parent; the message from parent to child.
				std::string cycle = ind_id[parent];
				for (int k = path.size() - 1 ; k >= 0 && path[k].first != parent ; k --) cycle += " -> " + ind_id[path[k].first];
				LOG.error("Pedigree cycle: " + cycle + " -> " + ind_id[parent]);
			}
			state[parent] = 1;
			path.push_back(std::make_pair(parent, 0));
		}
	}
}

void genotype_reader::indexingFamily(int ind, int family, std::vector < int > & members) {
	if (ind_family[ind] >= 0) return;
	ind_family[ind] = family;
	members.push_back(ind);
	if (ind_father[ind] >= 0) indexingFamily(ind_father[ind], family, members);
	if (ind_mother[ind] >= 0) indexingFamily(ind_mother[ind], family, members);
	for (int c : ind_children[ind]) indexingFamily(c, family, members);
}

int genotype_reader::resetSnp(bool allele, int site) {
	int n_missing = 0;
	for (int i = 0 ; i < (int)ind_id.size() ; i ++) {
		hap0[i][site] = allele;
		hap1[i][site] = allele;
		if (missing[i][site]) n_missing ++;
		missing[i][site] = false;
	}
	return n_missing;
}

// A PED site seen with one allele only has an empty second allele.
void genotype_reader::fixPed() {
	for (int s = 0 ; s < sites->size() ; s ++) {
		snp * site = sites->getByIndex(s);
		if (site->a1.empty()) site->a1 = site->a0;
	}
}

void genotype_reader::pushGenotype(int ind, bool h0, bool h1, bool miss) {
	hap0[ind].push_back(h0);
	hap1[ind].push_back(h1);
	missing[ind].push_back(miss);
}

// Code: bit 0 hap0, bit 1 hap1, bit 2 missing.
void genotype_reader::stageGenotype(int ind, bool h0, bool h1, bool miss) {
	size_t at = (size_t)n_staged * ind_id.size() + ind;
	if (at >= staged.size()) staged.resize(64 * ind_id.size());
	staged[at] = h0 | (h1 << 1) | (miss << 2);
}

void genotype_reader::endStagedSite() {
	if (++ n_staged == 64) flushStaged();
}

void genotype_reader::flushStaged() {
	int N = ind_id.size();
	for (int i = 0 ; i < N ; i ++)
		for (int s = 0 ; s < n_staged ; s ++) {
			unsigned char code = staged[(size_t)s * N + i];
			pushGenotype(i, code & 1, code & 2, code & 4);
		}
	n_staged = 0;
}

// Fields of a PED or FAM line: family, individual, father, mother, sex, phenotype. The
// individual is the last one accepted by putInd.
void genotype_reader::putPlinkFields(std::vector < std::string > & tokens, std::vector < std::string > & fathers, std::vector < std::string > & mothers) {
	int ind = ind_id.size() - 1;
	ind_fields[ind] = { tokens[0], "0", tokens[2], tokens[3], tokens[4], tokens[5] };
	fathers.push_back(tokens[2]);
	mothers.push_back(tokens[3]);
	ind_male[ind] = (tokens[4] == "1");
}

// plink codes a binary phenotype 1 (control), 2 (case), 0 or -9 (missing), which a
// SAMPLE file codes 0, 1 and NA. Any other value makes the column a quantitative
// phenotype, of which -9 is missing.
void genotype_reader::recodePlinkPhenotypes() {
	bool binary = true;
	for (const std::vector < std::string > & f : ind_fields) binary = binary && (f[5] == "1" || f[5] == "2" || f[5] == "0" || f[5] == "-9");
	for (std::vector < std::string > & f : ind_fields) {
		std::string & p = f[5];
		if (p == "-9" || (binary && p == "0")) p = "NA";
		else if (binary) p = (p == "1") ? "0" : "1";
	}
	sample_header2 = binary ? "0 0 0 D D D B" : "0 0 0 D D D P";
}

void genotype_reader::printSampleCounts(int n_excluded, bool with_sex) {
	LOG.println("  * " + sutils::int2str(ind_id.size()) + " samples included");
	if (n_excluded) LOG.println("  * " + sutils::int2str(n_excluded) + " samples excluded");
	if (with_sex && chrX) {
		int n_males = 0;
		for (int i = 0 ; i < (int)ind_male.size() ; i ++) n_males += ind_male[i];
		LOG.println("  * " + sutils::int2str(n_males) + " males / " + sutils::int2str(ind_male.size() - n_males) + " females");
	}
}

// A store without sites would only end in misleading messages further on (every
// individual fully missing), so it stops here.
void genotype_reader::printSiteCounts(std::string file, int n_excluded, std::string what) {
	LOG.println("  * " + sutils::int2str(sites->size()) + " " + what + " included");
	if (n_excluded) LOG.println("  * " + sutils::int2str(n_excluded) + " " + what + " excluded");
	if (sites->size() == 0 && !filter.chromosome.empty()) LOG.error("No site read from [" + file + "] in --region, on chromosome [" + filter.chromosome + "]: check the chromosome's name and the positions");
	if (sites->size() == 0) LOG.error("No site read from [" + file + "]" + (n_excluded ? ": all " + sutils::int2str(n_excluded) + " were excluded" : ""));
}

int hard_call(float & p0, float & p1, float & p2, double threshold, long & n_failed, long & n_passed) {
	int call = -1;
	if (threshold >= 0) {
		// Tests in sequence on the live values: a test that passes turns the triple one-hot.
		if ((double)p0 >= threshold) { p0 = 1.0f; p1 = 0.0f; p2 = 0.0f; call = 0; }
		if ((double)p1 >= threshold) { p0 = 0.0f; p1 = 1.0f; p2 = 0.0f; call = 1; }
		if ((double)p2 >= threshold) { p0 = 0.0f; p1 = 0.0f; p2 = 1.0f; call = 2; }
	} else {
		// Highest probability; the one-hot triple after a pass sends ties to the lower genotype.
		if (p0 >= p1 && p0 >= p2) { p0 = 1.0f; p1 = 0.0f; p2 = 0.0f; call = 0; }
		if (p1 >= p0 && p1 >= p2) { p0 = 0.0f; p1 = 1.0f; p2 = 0.0f; call = 1; }
		if (p2 >= p0 && p2 >= p1) { p0 = 0.0f; p1 = 0.0f; p2 = 1.0f; call = 2; }
	}
	if (call < 0) n_failed ++;
	else n_passed ++;
	return call;
}
