#include "input/genotype_checker.h"

#include "utils/assertion.h"
#include "utils/autils.h"
#include "utils/lfile.h"
#include "utils/ofile.h"
#include "utils/sutils.h"

#include <algorithm>

namespace {

// Report files are named after the log and hold one tab-separated header line.
std::string openReport(ofile & fd, std::string suffix, std::string header) {
	std::string name = LOG.getPrefix() + suffix;
	if (!fd.open(name, false, true)) LOG.error(name + " is impossible to create, check writing permissions");
	fd << header << "\n";
	return name;
}

// A rate above the limit; an empty total has no rate.
bool rateAbove(int count, int total, double limit) {
	return total > 0 && (double)count / total > limit;
}

int countAbove(const std::vector < int > & counts, double limit) {
	int n = 0;
	for (int c : counts) if (c > limit) n ++;
	return n;
}

// Allele 0 counts as A, 1 as B; a haploid genotype counts its first allele only.
void countAlleles(bool b0, bool b1, bool haploid, int & count_A, int & count_B) {
	count_A += !b0;
	count_B += b0;
	if (haploid) return;
	count_A += !b1;
	count_B += b1;
}

// Fully missing data stop the phasing, but only get a mention when calling from likelihoods.
void reportFullyMissing(int n, std::string what, bool likelihoods) {
	if (n == 0) return;
	if (likelihoods) LOG.println("  * " + sutils::int2str(n) + what);
	else LOG.error(sutils::int2str(n) + what);
}

}

bool myHetCountComparison(const std::pair < int, int > & a, const std::pair < int, int > & b) {
	return a.second < b.second;
}

genotype_checker::genotype_checker(genotype_reader & reader, reference_reader & reference, bool chrX, bool force) :
	reader(reader), reference(reference), chrX(chrX), force(force), het_count(reader.ind_id.size(), 0) {
}

void genotype_checker::resetPedigrees() {
	for (int i = 0 ; i < (int)reader.ind_id.size() ; i ++) {
		reader.ind_father[i] = -1;
		reader.ind_mother[i] = -1;
		reader.ind_family[i] = i;
		reader.ind_children[i].clear();
	}
}

void genotype_checker::wipe(int ind, int site) {
	reader.hap0[ind][site] = false;
	reader.hap1[ind][site] = false;
	reader.missing[ind][site] = true;
}

void genotype_checker::checkGenotypeData() {
	if (chrX) {
		checkHaploidHeterozygous();
		checkMissingAndMAF(false);
	} else {
		checkMissingAndMAF(false);
		checkMendelErrors();
	}
}

void genotype_checker::checkLikelihoodData() {
	checkMissingAndMAF(true);
	checkMendelErrors();
}

void genotype_checker::checkMendelErrors() {
	walkMendelErrors(false);
}

// Each genotype of a Mendel error is set missing, to be imputed with the haplotypes.
void genotype_checker::wipeMendelErrors() {
	long before = 0, after = 0;
	for (const std::vector < bool > & m : reader.missing) before += std::count(m.begin(), m.end(), true);
	walkMendelErrors(true);
	for (const std::vector < bool > & m : reader.missing) after += std::count(m.begin(), m.end(), true);
	if (after > before) LOG.println("  * " + sutils::long2str(after - before) + " genotypes in Mendel errors set missing");
}

/*****************************************************************************/
/*                               MENDEL ERRORS                               */
/*****************************************************************************/

void genotype_checker::walkMendelErrors(bool wipe_errors) {
	int N = reader.ind_id.size(), S = reader.sites->size();
	bool related = false;
	for (int i = 0 ; i < N ; i ++) related = related || reader.ind_father[i] >= 0 || reader.ind_mother[i] >= 0;
	if (!related) return;
	LOG.println("\nChecking Mendel errors...");

	// mendel[i]: errors in the trio, with the father, with the mother.
	std::vector < std::vector < int > > mendel(N, std::vector < int > (3, 0));
	std::vector < int > site_errors(S, 0), site_total(S, 0);
	for (int i = 0 ; i < N ; i ++) {
		int f = reader.ind_father[i], m = reader.ind_mother[i];
		if (f < 0 && m < 0) continue;
		for (int s = 0 ; s < S ; s ++) {
			if (reader.missing[i][s]) continue;
			bool use_f = f >= 0 && !reader.missing[f][s];
			bool use_m = m >= 0 && !reader.missing[m][s];
			int c0 = reader.hap0[i][s], c1 = reader.hap1[i][s];
			if (use_f && use_m) {
				int f0 = reader.hap0[f][s], f1 = reader.hap1[f][s], m0 = reader.hap0[m][s], m1 = reader.hap1[m][s];
				int T = autils::checkTrio(f0, f1, m0, m1, c0, c1);
				int Df = autils::checkDuo(f0, f1, c0, c1);
				int Dm = autils::checkDuo(m0, m1, c0, c1);
				if (T < 0) mendel[i][0] ++;
				else het_count[i] += T;
				if (Df < 0) mendel[i][1] ++;
				if (Dm < 0) mendel[i][2] ++;
				if (T < 0 || Df < 0 || Dm < 0) site_errors[s] ++;
				// The tests above read all genotypes first, so wiping the child here changes none of them.
				if (wipe_errors && T < 0) { wipe(i, s); wipe(f, s); wipe(m, s); }
				if (wipe_errors && Df < 0) { wipe(i, s); wipe(f, s); }
				if (wipe_errors && Dm < 0) { wipe(i, s); wipe(m, s); }
			} else if (use_f || use_m) {
				int p = use_f ? f : m;
				int D = autils::checkDuo(reader.hap0[p][s], reader.hap1[p][s], c0, c1);
				if (D < 0) {
					mendel[i][use_f ? 1 : 2] ++;
					site_errors[s] ++;
					if (wipe_errors) { wipe(i, s); wipe(p, s); }
				} else het_count[i] += D;
			}
			site_total[s] ++;
		}
	}
	reportMendelErrors(mendel, site_errors, site_total);
}

void genotype_checker::reportMendelErrors(const std::vector < std::vector < int > > & mendel, const std::vector < int > & site_errors, const std::vector < int > & site_total) {
	int N = reader.ind_id.size(), S = reader.sites->size();
	int n_trio = 0, n_father = 0, n_mother = 0, n_duo = 0, n_snp = 0;
	for (int i = 0 ; i < N ; i ++) {
		int f = reader.ind_father[i], m = reader.ind_mother[i];
		if (f < 0 && m < 0) continue;
		// A literal mother index 0 makes a duo of the father: a child with a father only is
		// summarised as a trio. This changes the summary words only.
		if (f >= 0 && m == 0) n_duo += rateAbove(mendel[i][1], S, 0.05);
		else if (f < 0) n_duo += rateAbove(mendel[i][2], S, 0.05);
		else {
			n_trio += rateAbove(mendel[i][0], S, 0.05);
			n_father += rateAbove(mendel[i][1], S, 0.05);
			n_mother += rateAbove(mendel[i][2], S, 0.05);
		}
	}
	for (int s = 0 ; s < S ; s ++) n_snp += rateAbove(site_errors[s], site_total[s], 0.05);

	if (n_trio) LOG.println("  * " + sutils::int2str(n_trio) + " trios with high Mendel error rate (> 5%)");
	if (n_father) LOG.println("  * " + sutils::int2str(n_father) + " father-child affiliations in trio with high Mendel error rate (> 5%)");
	if (n_mother) LOG.println("  * " + sutils::int2str(n_mother) + " mother-child affiliations in trio with high Mendel error rate (> 5%)");
	if (n_duo) LOG.println("  * " + sutils::int2str(n_duo) + " duos with high Mendel error rate (> 5%)");
	if (!n_trio && !n_father && !n_mother && !n_duo) LOG.println("  * Low level of Mendel error in all trios and duos");
	if (n_snp) LOG.println("  * " + sutils::int2str(n_snp) + " SNPs with high Mendel error rate (> 5%)");

	ofile fdi;
	openReport(fdi, ".ind.me", "id\tfather_id\tfather_mendel\tmother_id\tmother_mendel\tfather_mother_mende\tfamID");
	for (int i = 0 ; i < N ; i ++) {
		int f = reader.ind_father[i], m = reader.ind_mother[i];
		fdi << reader.ind_id[i] << "\t" << (f < 0 ? "0" : reader.ind_id[f]) << "\t" << mendel[i][1];
		fdi << "\t" << (m < 0 ? "0" : reader.ind_id[m]) << "\t" << mendel[i][2];
		fdi << "\t" << mendel[i][0] << "\t" << reader.ind_family[i] << "\n";
	}
	fdi.close();

	ofile fds;
	openReport(fds, ".snp.me", "id\tposition\tmendel\ttotal");
	for (int s = 0 ; s < S ; s ++) {
		snp * site = reader.sites->getByIndex(s);
		fds << site->id << "\t" << site->bp << "\t" << site_errors[s] << "\t" << site_total[s] << "\n";
	}
	fds.close();
}

/*****************************************************************************/
/*                           HAPLOID HETEROZYGOTES                           */
/*****************************************************************************/

void genotype_checker::checkHaploidHeterozygous() {
	LOG.println("\nChecking haploid heterozygous in chrX...");
	int N = reader.ind_id.size(), S = reader.sites->size();
	std::vector < int > ind_hh(N, 0), snp_hh(S, 0);
	int total = 0, males = 0;
	for (int i = 0 ; i < N ; i ++) {
		if (!reader.ind_male[i]) continue;
		males ++;
		for (int s = 0 ; s < S ; s ++) {
			// A missing genotype has both bits clear and is never counted.
			if (reader.hap0[i][s] == reader.hap1[i][s]) continue;
			ind_hh[i] ++;
			snp_hh[s] ++;
			total ++;
			wipe(i, s);
		}
	}
	int n_ind = countAbove(ind_hh, 0.01 * S), n_snp = countAbove(snp_hh, 0.01 * males);
	LOG.println("  * " + sutils::int2str(total) + " haploid heterozygous blanked in " + sutils::int2str(males) + " males chrX");
	if (n_ind) LOG.println("  * " + sutils::int2str(n_ind) + " individuals with high rates of haploid heterozygous (>1%)");
	if (n_snp) LOG.println("  * " + sutils::int2str(n_snp) + " SNPs with high rates of haploid heterozygous (>1%)");

	ofile fdi;
	openReport(fdi, ".ind.hh", "id\tmale\thaploid_hets\tn_snp");
	for (int i = 0 ; i < N ; i ++) fdi << reader.ind_id[i] << "\t" << reader.ind_male[i] << "\t" << ind_hh[i] << "\t" << S << "\n";
	fdi.close();

	ofile fds;
	openReport(fds, ".snp.hh", "id\tpos\thaploid_hets\tn_males");
	for (int s = 0 ; s < S ; s ++) {
		snp * site = reader.sites->getByIndex(s);
		fds << site->id << "\t" << site->bp << "\t" << snp_hh[s] << "\t" << males << "\n";
	}
	fds.close();
}

/*****************************************************************************/
/*                            MISSINGNESS AND MAF                            */
/*****************************************************************************/

void genotype_checker::checkMissingAndMAF(bool likelihoods) {
	LOG.println("\nChecking missingness and MAF...");
	std::vector < int > ind_missing, snp_missing;
	allele_counts counts;
	countMissingAndAlleles(ind_missing, snp_missing, counts);
	// Reports come before the stops, so that a stopped run tells which samples and sites to remove.
	writeMissingReports(ind_missing, snp_missing, counts);
	stopOnMissing(ind_missing, snp_missing, likelihoods);
	fillMonomorphic(counts, likelihoods);
}

void genotype_checker::countMissingAndAlleles(std::vector < int > & ind_missing, std::vector < int > & snp_missing, allele_counts & counts) {
	int N = reader.ind_id.size(), S = reader.sites->size();
	ind_missing.assign(N, 0);
	snp_missing.assign(S, 0);
	for (std::vector < int > * v : { &counts.count_A_main, &counts.count_B_main, &counts.count_A_founder, &counts.count_B_founder, &counts.count_A_ref, &counts.count_B_ref }) v->assign(S, 0);

	for (int i = 0 ; i < N ; i ++) {
		bool haploid = chrX && reader.ind_male[i];
		bool founder = reader.isFounder(i);
		for (int s = 0 ; s < S ; s ++) {
			if (reader.missing[i][s]) {
				ind_missing[i] ++;
				snp_missing[s] ++;
				continue;
			}
			countAlleles(reader.hap0[i][s], reader.hap1[i][s], haploid, counts.count_A_main[s], counts.count_B_main[s]);
			if (founder) countAlleles(reader.hap0[i][s], reader.hap1[i][s], haploid, counts.count_A_founder[s], counts.count_B_founder[s]);
		}
	}
	for (int r = 0 ; r < (int)reference.ind_id.size() ; r ++) {
		bool haploid = chrX && reference.ind_male[r];
		for (int s = 0 ; s < S ; s ++) countAlleles(reference.hap0[r][s], reference.hap1[r][s], haploid, counts.count_A_ref[s], counts.count_B_ref[s]);
	}
	counts.count_A_total.resize(S);
	counts.count_B_total.resize(S);
	for (int s = 0 ; s < S ; s ++) {
		counts.count_A_total[s] = counts.count_A_main[s] + counts.count_A_ref[s];
		counts.count_B_total[s] = counts.count_B_main[s] + counts.count_B_ref[s];
	}
}

void genotype_checker::writeMissingReports(const std::vector < int > & ind_missing, const std::vector < int > & snp_missing, const allele_counts & counts) {
	ofile fdi;
	openReport(fdi, ".ind.mm", "id\tmissing");
	for (int i = 0 ; i < (int)reader.ind_id.size() ; i ++) fdi << reader.ind_id[i] << "\t" << ind_missing[i] << "\n";
	fdi.close();

	bool with_ref = !reference.empty();
	std::string header = "id\tposition\tA\tB\tmissing\tcount_A_main\tcount_B_main\tcount_A_founder\tcount_B_founder";
	if (with_ref) header += "\tcount_A_ref\tcount_B_ref\tcount_A_total\tcount_B_total";
	ofile fds;
	openReport(fds, ".snp.mm", header);
	for (int s = 0 ; s < reader.sites->size() ; s ++) {
		snp * site = reader.sites->getByIndex(s);
		fds << site->id << "\t" << site->bp << "\t" << site->a0 << "\t" << site->a1 << "\t" << snp_missing[s];
		fds << "\t" << counts.count_A_main[s] << "\t" << counts.count_B_main[s];
		fds << "\t" << counts.count_A_founder[s] << "\t" << counts.count_B_founder[s];
		if (with_ref) {
			fds << "\t" << counts.count_A_ref[s] << "\t" << counts.count_B_ref[s];
			fds << "\t" << counts.count_A_total[s] << "\t" << counts.count_B_total[s];
		}
		fds << "\n";
	}
	fds.close();
}

void genotype_checker::stopOnMissing(const std::vector < int > & ind_missing, const std::vector < int > & snp_missing, bool likelihoods) {
	int N = reader.ind_id.size(), S = reader.sites->size();
	int ind_high = countAbove(ind_missing, 0.05 * S), ind_very_high = countAbove(ind_missing, 0.1 * S);
	int snp_high = countAbove(snp_missing, 0.05 * N), snp_very_high = countAbove(snp_missing, 0.1 * N);
	int ind_full = std::count(ind_missing.begin(), ind_missing.end(), S);
	int snp_full = std::count(snp_missing.begin(), snp_missing.end(), N);

	// The stops give the count above 5%, not the one above 10% that triggers them.
	if (ind_very_high && !force) LOG.error(sutils::int2str(ind_high) + " individuals with high rates of missing data (>10%). These individuals should be removed. You can disable this error with --force (at your own risk).");
	if (ind_high) LOG.println("  * " + sutils::int2str(ind_high) + " individuals with high rates of missing data (>5%)");
	if (snp_very_high && !force) LOG.error(sutils::int2str(snp_high) + " SNPs with high rates of missing data (>10%).  These sites should be removed. You can disable this error with --force (at your own risk).");
	if (snp_high) LOG.println("  * " + sutils::int2str(snp_high) + " SNPs with high rates of missing data (>5%)");
	reportFullyMissing(ind_full, " fully missing individuals (=100%)", likelihoods);
	reportFullyMissing(snp_full, " fully missing SNPs (=100%)", likelihoods);
}

void genotype_checker::fillMonomorphic(const allele_counts & counts, bool likelihoods) {
	int n_mono = 0, n_imputed = 0, n_single = 0;
	for (int s = 0 ; s < reader.sites->size() ; s ++) {
		int A = counts.count_A_total[s], B = counts.count_B_total[s];
		if (A == 0 || B == 0) {
			// Only the second allele seen fills with 1s, only the first with 0s.
			if (!likelihoods) n_imputed += reader.resetSnp(A == 0, s);
			n_mono ++;
		} else if (A == 1 || B == 1) n_single ++;
	}
	if (n_mono) LOG.println("  * " + sutils::int2str(n_mono) + " monomorphic SNPs");
	if (n_imputed) LOG.println("  * " + sutils::int2str(n_imputed) + " missing genotypes automatically imputed at monomorphic SNPs");
	if (n_single) LOG.println("  * " + sutils::int2str(n_single) + " singletons SNPs");
}

/*****************************************************************************/
/*                               BUILD ORDER                                 */
/*****************************************************************************/

std::map < std::string, int > genotype_checker::unitRecord(int type, int child, int father, int mother) {
	std::map < std::string, int > unit;
	unit["type"] = type;
	unit["idx_child"] = child;
	unit["ord_child"] = reader.ind_order[child];
	unit["idx_father"] = father;
	unit["ord_father"] = father < 0 ? -1 : reader.ind_order[father];
	unit["main_father"] = -1;
	unit["idx_mother"] = mother;
	unit["ord_mother"] = mother < 0 ? -1 : reader.ind_order[mother];
	unit["main_mother"] = -1;
	return unit;
}

// A founder parent is phased by the first record naming him; anyone else by his own record.
void genotype_checker::setMain(std::map < std::string, int > & unit, std::string parent, int ind, std::vector < bool > & done) {
	bool main = reader.isFounder(ind) && !done[ind];
	unit["main_" + parent] = main;
	if (main) done[ind] = true;
}

void genotype_checker::markSeen(int ind, const std::vector < bool > & done, std::set < std::string > & multi) {
	if (done[ind]) multi.insert(reader.ind_id[ind]);
}

void genotype_checker::stopOnMultipleInclusions(const std::set < std::string > & multi) {
	ofile fd;
	std::string name = openReport(fd, ".inc.me", "id");
	for (const std::string & id : multi) fd << id << "\n";
	fd.close();
	LOG.error("  * " + sutils::int2str(multi.size()) + " samples are included in several duos/trios, check list in " + name + "\nYou can use the --duohmm flag to phase complex pedigrees.");
}

void genotype_checker::order(std::vector < std::map < std::string, int > > & out) {
	int N = reader.ind_id.size();
	sorvane_assert((int)het_count.size() == N);
	std::vector < bool > done(N, false);
	std::set < std::string > multi;
	std::vector < std::pair < int, int > > sorted;
	for (int i = 0 ; i < N ; i ++) sorted.push_back(std::pair < int, int > (i, het_count[i]));
	// Stable: individuals of equal count keep their input order.
	std::stable_sort(sorted.begin(), sorted.end(), myHetCountComparison);
	out.clear();

	for (const std::pair < int, int > & p : sorted) {
		int i = p.first, f = reader.ind_father[i], m = reader.ind_mother[i];
		if (f < 0 || m < 0) continue;
		markSeen(i, done, multi);
		markSeen(m, done, multi);
		markSeen(f, done, multi);
		std::map < std::string, int > unit = unitRecord(4, i, f, m);
		setMain(unit, "father", f, done);
		setMain(unit, "mother", m, done);
		out.push_back(unit);
		done[i] = true;
	}

	for (const std::pair < int, int > & p : sorted) {
		int i = p.first, f = reader.ind_father[i], m = reader.ind_mother[i];
		if ((f < 0) == (m < 0)) continue;
		int parent = f >= 0 ? f : m;
		markSeen(i, done, multi);
		markSeen(parent, done, multi);
		std::map < std::string, int > unit = unitRecord(3, i, f, m);
		setMain(unit, f >= 0 ? "father" : "mother", parent, done);
		out.push_back(unit);
		done[i] = true;
	}

	for (const std::pair < int, int > & p : sorted) {
		int i = p.first;
		if (done[i]) continue;
		if (!reader.isFounder(i)) LOG.error("orderForGraphBuilder " + reader.ind_id[i]);
		out.push_back(unitRecord((chrX && reader.ind_male[i]) ? 1 : 2, i, -1, -1));
		done[i] = true;
	}

	if (!multi.empty()) stopOnMultipleInclusions(multi);
	for (int i = 0 ; i < N ; i ++) if (!done[i])
		LOG.error(reader.ind_id[i] + " if=" + sutils::int2str(reader.ind_father[i]) + " im=" + sutils::int2str(reader.ind_mother[i]) + " not included!");
}
