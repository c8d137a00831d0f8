#include "output/haplotype_writer.h"
#include "objects/genotype_graph.h"
#include "objects/snp_set.h"
#include "output/vcf_output.h"
#include "utils/globals.h"
#include "utils/lfile.h"
#include "utils/sutils.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>
#include <set>
#include <sstream>

namespace {

// Track of the first and of the second output column, by kind. A duo child shares track 0
// with the parent; a trio mother's first column is the haplotype she transmitted.
const int first_track[8] = { 0, 0, 0, 0, 0, 0, 0, 3 };
const int second_track[8] = { 0, 1, 2, 1, 1, 3, 1, 2 };

bool isFather(int kind) {
	return kind == 3 || kind == 6;
}

bool isMother(int kind) {
	return kind == 4 || kind == 7;
}

void openOutput(ofile & f, const std::string & name) {
	if (!f.open(name)) LOG.error("Impossible to create file [" + name + "]");
}

std::vector < std::string > split(const std::string & text, char separator) {
	std::vector < std::string > items;
	std::istringstream s(text);
	for (std::string item ; std::getline(s, item, separator) ; ) if (!item.empty()) items.push_back(item);
	return items;
}

// The ID of a header line "##KIND=<ID=x,...>".
std::string declaredId(const std::string & line) {
	size_t at = line.find("<ID=");
	if (at == std::string::npos) return "";
	at += 4;
	return line.substr(at, line.find_first_of(",>", at) - at);
}

// A site's INFO with its AC and AN, where it has them, counted again on the written
// genotypes; the other fields as they were.
std::string recount(const std::string & info, int ac, int an) {
	if (info.find("AC=") == std::string::npos && info.find("AN=") == std::string::npos) return info;
	std::string out;
	for (const std::string & item : split(info, ';')) {
		const std::string key = item.substr(0, item.find('='));
		if (!out.empty()) out += ";";
		if (key == "AC") out += "AC=" + std::to_string(ac);
		else if (key == "AN") out += "AN=" + std::to_string(an);
		else out += item;
	}
	return out;
}

}

bool compare_haplotype_index(const haplotype_index & a, const haplotype_index & b) {
	return a.order < b.order;
}

haplotype_writer::haplotype_writer(filter_writer & _filter, genhap_set & _set, std::string _sample_header1, std::string _sample_header2, bool _skip_children) :
	filter(_filter), set(_set), sample_header1(_sample_header1), sample_header2(_sample_header2), skip_children(_skip_children) {
	for (int i = 0 ; i < (int)set.vecG.size() ; i ++) {
		genotype_graph * g = set.vecG[i];
		switch (g->type) {
		case 1:
		case 2:
			// Kind 0 haploid, 1 unrelated.
			add(g->name, g->index, i, g->type - 1);
			break;
		case 3:
			if (!g->fname.empty() && g->fmain) add(g->fname, g->findex, i, 3);
			if (!g->mname.empty() && g->mmain) add(g->mname, g->mindex, i, 4);
			if (!skip_children) add(g->name, g->index, i, 2);
			break;
		case 4:
			if (g->fmain) add(g->fname, g->findex, i, 6);
			if (g->mmain) add(g->mname, g->mindex, i, 7);
			if (!skip_children) add(g->name, g->index, i, 5);
			break;
		}
	}
	std::sort(order.begin(), order.end(), compare_haplotype_index);
}

void haplotype_writer::add(const std::string & id, int _order, int index, int kind) {
	if (filter.checkInd(id)) order.push_back(haplotype_index { _order, index, kind });
}

const std::string & haplotype_writer::identifier(const haplotype_index & h) const {
	const genotype_graph * g = set.vecG[h.index];
	if (isFather(h.kind)) return g->fname;
	if (isMother(h.kind)) return g->mname;
	return g->name;
}

const std::vector < std::string > & haplotype_writer::fields(const haplotype_index & h) const {
	const genotype_graph * g = set.vecG[h.index];
	if (isFather(h.kind)) return g->fproperties;
	if (isMother(h.kind)) return g->mproperties;
	return g->properties;
}

// The first sample field, the identifier, then the remaining fields.
void haplotype_writer::writeSamples(ofile & f) const {
	for (const haplotype_index & h : order) {
		const std::vector < std::string > & p = fields(h);
		if (!p.empty()) f << p[0] << " ";
		f << identifier(h);
		for (unsigned int k = 1 ; k < p.size() ; k ++) f << " " << p[k];
		f << "\n";
	}
}

std::vector < const chaplotype * > haplotype_writer::columns(int which) const {
	std::vector < const chaplotype * > c;
	for (const haplotype_index & h : order) {
		int track = which ? second_track[h.kind] : first_track[h.kind];
		c.push_back(&set.vecH[set.ind2hap[h.index][track]]);
	}
	return c;
}

void haplotype_writer::orient(const std::map < std::string, known_phase > & phases) {
	std::vector < const chaplotype * > c0 = columns(0);
	swaps.assign(order.size(), std::vector < bool > ());
	for (unsigned int k = 0 ; k < order.size() ; k ++) {
		std::map < std::string, known_phase >::const_iterator it = phases.find(identifier(order[k]));
		if (it == phases.end()) continue;
		const known_phase & p = it->second;
		const int L = p.known.size();
		int first = 0;
		while (first < L && !(p.known[first] && p.hap0[first] != p.hap1[first])) first ++;
		if (first == L) continue;
		bool swap = c0[k]->get(first) != p.hap0[first];
		swaps[k].assign(L, false);
		for (int l = 0 ; l < L ; l ++) {
			if (p.known[l] && p.hap0[l] != p.hap1[l]) swap = c0[k]->get(l) != p.hap0[l];
			swaps[k][l] = swap;
		}
	}
}

// The graph's probability p of a pair falls short of the share of pairs written right: the
// stored probabilities average posteriors of models that copy from few haplotypes, while the
// written haplotypes are the best path through them. PP is the logistic map
// logit(PP) = shift + slope * logit(p), never below an even chance since the written path is
// the most likely one, with a map of its own for pairs whose rarer site has a minor allele
// count of at most 10 in the haplotypes. Both were fitted on simulated cohorts of 60 to 1000
// samples, constant or growing, common or all sites (bench/README.md, "Phase confidence"),
// where one power of the odds had left the smaller cohorts cautious by up to 0.27. Where the
// graph weighs both phases alike, mostly at a singleton whose allele no other haplotype
// carries, the phase is the placement from the haplotypes around it, right less often as the
// haplotypes grow (3 cases in 4 among 120 haplotypes, fewer than 6 in 10 among 2000), or a
// toss when singletons were left as maximised.
struct confidence_map {
	double shift, slope;
};
static const confidence_map common_pairs = { 0.75, 1.5 }, rare_pairs = { 2.0, 3.0 };
static const int rare_count = 10;
// Most carriers of an allele whose pairs are weighed by the stretch the carriers share.
static const int rare_carriers = 5;

static double placedSingleton(int haplotypes) {
	return std::min(0.75, std::max(0.55, 0.72 - 0.156 * (std::log10(haplotypes / 2.0) - 2.0)));
}

// Where the transform selected the states, their mismatch rate is that of a hundred
// haplotypes and not of thousands: the graph is less sure of the same pairs. Its logit
// first takes this map, fitted on c1000all and c1000mac2 (bench/README.md, "Phase
// confidence"), which brings the pairs back to the scale that the maps above were fitted on.
static const confidence_map transform_states = { 0.115, 1.15 };

// A pair at an allele of 2 to 5 carriers is either at a true rare allele, right as the
// graph says, or at an allele that a genotype error gave a second carrier (a singleton of
// the population), right about as often as a placed singleton whatever the graph says. The
// log odds of the second kind fall with the rate right of the carrier's shared stretch
// (rareRate) and with the graph's confidence, rise where the graph weighs both phases alike,
// and with the cohort's share of such pairs weighed alike (as the square of the ratio): 0.34
// on the simulated growth cohort of all sites where they were fitted, 0.08 on its sites of
// 2 carriers or more, 0.01 to 0.04 on studies of 100 to 150 samples (bench/README.md, "Pairs
// at a rare allele as two kinds").
static const double error_base = 1.5, error_by_rate = -0.64, error_by_graph = -1.5, error_when_alike = 2.0, fitted_alike_share = 0.34, error_by_share = 2.0;
// True rare alleles whose pairs the graph weighs alike: right in about 8 cases of 10.
static const double rare_alike = 0.8;
// Pairs of two sites of more than 5 carriers that the graph weighs alike or against what is
// written: right in 0.6 to 0.7 of cases among 2000 haplotypes, more among fewer.
static const double common_unsure = 0.65;

static double logistic(double x) {
	return 1.0 / (1.0 + std::exp(-x));
}

static double logit(double p) {
	p = std::min(std::max(p, 1e-6), 1.0 - 1e-6);
	return std::log(p / (1.0 - p));
}

double haplotype_writer::pairConfidence(double p, int least, double rare_rate, double alike_share, double singleton, bool transform) {
	if (std::isnan(p)) return p;
	const bool alike = std::fabs(p - 0.5) < 0.01;
	if (least > rare_carriers && p < 0.51) return std::max(singleton, common_unsure);
	double x = alike ? 0.0 : logit(p);
	if (transform && !alike) x = transform_states.shift + transform_states.slope * x;
	const confidence_map & m = least <= rare_count ? rare_pairs : common_pairs;
	const double mapped = logistic(m.shift + m.slope * x);
	if (rare_rate < 0.0) return alike ? singleton : std::max(0.5, mapped);
	const double error = logistic(error_base + error_by_rate * logit(rare_rate) + error_by_graph * std::max(x, 0.0)
		+ (alike ? error_when_alike : 0.0) + error_by_share * std::log(alike_share / fitted_alike_share));
	return std::max(0.5, (1.0 - error) * (alike ? rare_alike : mapped) + error * singleton);
}

// Count of allele 1 at each site over all haplotypes, reading their set bits.
static std::vector < int > alleleCounts(const std::vector < chaplotype > & H, int L) {
	std::vector < int > count (L, 0);
	for (const chaplotype & h : H) for (int k = 0 ; k < (int)h.data.size() ; k ++)
		for (unsigned int d = h.data[k] ; d ; d &= d - 1) {
			const int l = 8 * k + __builtin_ctz(d);
			if (l < L) count[l] ++;
		}
	return count;
}

// A rare allele is copied with confidence from one carrier to another, yet a genotype error
// at a singleton, or a missing genotype filled in, gives it carriers too, which share no more
// with the true carrier than unrelated haplotypes do around it. The carriers of a true rare
// allele share a stretch around it, longer the more haplotypes there are (a rare allele among
// more haplotypes is younger). On a simulated cohort of 2000 growing haplotypes
// (bench/README.md, "Pairs at a rare allele") the pairs at an allele of count 2 to 5 were
// right as one logistic of the bp that their carrier shares with another, from even below
// 10 kb to 0.98 above 100 kb; the length is scaled by 2000 haplotypes over the cohort's.
double haplotype_writer::rareRate(int shared_bp, int haplotypes) {
	const double d = std::max(1.0, shared_bp * 2000.0 / haplotypes);
	return logistic(3.3 * (std::log10(d) - 4.0));
}

// The carriers are found in one pass over the bytes of all haplotypes, masked by the rare
// alleles 1 and the rare alleles 0.
std::vector < std::vector < std::pair < int, int > > > haplotype_writer::rareSpans(const std::vector < chaplotype > & H, const std::vector < int > & ones, const std::vector < int > & hap2ind, const snp_set & sites) {
	const int L = ones.size(), N = H.size(), B = (L + 7) / 8;
	std::vector < unsigned char > minor1 (B, 0), minor0 (B, 0);
	for (int l = 0 ; l < L ; l ++) {
		const int minor = std::min(ones[l], N - ones[l]);
		if (minor < 2 || minor > rare_carriers) continue;
		if (ones[l] <= N - ones[l]) minor1[l >> 3] |= 1u << (l & 7);
		else minor0[l >> 3] |= 1u << (l & 7);
	}
	std::vector < std::vector < int > > carriers (L);
	for (int h = 0 ; h < N ; h ++) for (int k = 0 ; k < B ; k ++) {
		const unsigned int d = H[h].data[k];
		for (unsigned int hit = ((d & minor1[k]) | (~d & minor0[k])) & 0xFF ; hit ; hit &= hit - 1) carriers[8 * k + __builtin_ctz(hit)].push_back(h);
	}
	std::vector < std::vector < std::pair < int, int > > > span (L);
	for (int l = 0 ; l < L ; l ++) for (int a : carriers[l]) {
		int longest = -1;
		for (int b : carriers[l]) {
			if (b == a || (a < (int)hap2ind.size() && b < (int)hap2ind.size() && hap2ind[a] == hap2ind[b])) continue;
			int first = l, last = l;
			while (first > 0 && H[a][first - 1] == H[b][first - 1]) first --;
			while (last + 1 < L && H[a][last + 1] == H[b][last + 1]) last ++;
			longest = std::max(longest, sites.vecS[last]->bp - sites.vecS[first]->bp);
		}
		if (longest >= 0) span[l].emplace_back(a, longest);
	}
	return span;
}

void haplotype_writer::phaseConfidences(const std::vector < bool > & written, bool singletons_placed, bool transform_states, std::vector < std::vector < float > > & pp, work_queue & workers) const {
	std::vector < const chaplotype * > c0 = columns(0), c1 = columns(1);
	const int N = set.vecH.size();
	std::vector < int > mac = alleleCounts(set.vecH, written.size());
	const std::vector < std::vector < std::pair < int, int > > > span = rareSpans(set.vecH, mac, set.hap2ind, *set.sites);
	for (int & c : mac) c = std::min(c, N - c);
	const double singleton = singletons_placed ? placedSingleton(N) : 0.5;
	// Per worker: the heterozygous sites of a sample and its alleles there, its pairs, and
	// the count of pairs at a rare allele's carrier and of those the graph weighs alike.
	std::vector < std::vector < int > > siteSets(workers.size());
	std::vector < std::vector < unsigned char > > alleleSets(workers.size());
	std::vector < std::vector < double > > pairSets(workers.size());
	std::vector < long > rare (workers.size(), 0), rareAlike (workers.size(), 0);
	auto heterozygotes = [&](int k, std::vector < int > & sites, std::vector < unsigned char > & alleles) {
		sites.clear();
		alleles.clear();
		for (int l = 0 ; l < (int)written.size() ; l ++) {
			const int x0 = allele(c0, c1, k, l, 0), x1 = allele(c0, c1, k, l, 1);
			if (!written[l] || x0 == x1) continue;
			sites.push_back(l);
			alleles.push_back(x0 | (x1 << 1));
		}
	};
	// The least rate right over the carriers of a rare allele at the pair's two sites that
	// are this sample's haplotypes, or -1 without any.
	auto pairRate = [&](int k, const std::vector < int > & sites, int j) {
		const int kind = order[k].kind;
		const int h0 = set.ind2hap[order[k].index][first_track[kind]], h1 = set.ind2hap[order[k].index][second_track[kind]];
		double rate = -1.0;
		for (int l : { sites[j], sites[j + 1] }) for (const std::pair < int, int > & carrier : span[l])
			if (carrier.first == h0 || carrier.first == h1) {
				const double r = rareRate(carrier.second, N);
				rate = rate < 0.0 ? r : std::min(rate, r);
			}
		return rate;
	};
	// First the graph's probabilities, p[j] for the pair of sites[j] and sites[j + 1].
	pp.assign(order.size(), std::vector < float > ());
	workers.run(order.size(), [&](int k, int worker) {
		const int kind = order[k].kind;
		if (kind == 0) return;
		std::vector < int > & sites = siteSets[worker];
		std::vector < double > & p = pairSets[worker];
		heterozygotes(k, sites, alleleSets[worker]);
		set.vecG[order[k].index]->phaseConfidence(first_track[kind], second_track[kind], sites, alleleSets[worker], p);
		for (unsigned int j = 0 ; j < p.size() ; j ++) {
			pp[k].push_back(p[j]);
			if (pairRate(k, sites, j) < 0.0) continue;
			rare[worker] ++;
			rareAlike[worker] += std::fabs(p[j] - 0.5) < 0.01;
		}
	});
	// Kept off zero: the odds take its logarithm.
	const double alike_share = (std::accumulate(rareAlike.begin(), rareAlike.end(), 0L) + 0.5) / (std::accumulate(rare.begin(), rare.end(), 0L) + 1.0);
	workers.run(order.size(), [&](int k, int worker) {
		if (order[k].kind == 0) return;
		std::vector < int > & sites = siteSets[worker];
		heterozygotes(k, sites, alleleSets[worker]);
		for (unsigned int j = 0 ; j < pp[k].size() ; j ++)
			pp[k][j] = pairConfidence(pp[k][j], std::min(mac[sites[j]], mac[sites[j + 1]]), pairRate(k, sites, j), alike_share, singleton, transform_states);
	});
}

// Four significant digits at most, and no trailing zeros: most heterozygous genotypes are
// certain or nearly so, and their "1" keeps the files small.
static void appendProbability(std::string & out, float p) {
	if (std::isnan(p)) {
		out += '.';
		return;
	}
	char text[16];
	snprintf(text, sizeof(text), "%.4g", p);
	out += text;
}

void haplotype_writer::alleleLine(const std::vector < const chaplotype * > & c0, const std::vector < const chaplotype * > & c1, int l, std::string & line) const {
	line.clear();
	for (unsigned int k = 0 ; k < order.size() ; k ++) {
		if (k) line += ' ';
		line += (char)('0' + allele(c0, c1, k, l, 0));
		line += ' ';
		line += (char)('0' + allele(c0, c1, k, l, 1));
	}
}

void haplotype_writer::writeHaplotypeHap(std::string haps, std::string sample) {
	LOG.println("\nWriting sample list in [" + sample + "]");
	ofile fs;
	openOutput(fs, sample);
	fs << sample_header1 << "\n" << sample_header2 << "\n";
	writeSamples(fs);
	fs.close();

	LOG.println("\nWriting site list and haplotypes in [" + haps + "]");
	std::vector < const chaplotype * > c0 = columns(0), c1 = columns(1);
	std::string line;
	ofile fh;
	openOutput(fh, haps);
	for (int l = 0 ; l < set.sites->size() ; l ++) {
		snp * s = set.sites->getByIndex(l);
		if (!filter.checkSnp(s->bp)) continue;
		fh << s->chr << " " << s->id;
		// The six-column GEN layout keeps its second identifier in the site's properties.
		if (s->source == 4) fh << " " << s->properties[0];
		fh << " " << s->bp << " " << s->a0 << " " << s->a1;
		alleleLine(c0, c1, l, line);
		fh << " " << line << "\n";
	}
	fh.close();
}

void haplotype_writer::writeHaplotypeRef(std::string haplotypes, std::string legend, std::string samples) {
	LOG.println("\nWriting sample list in [" + samples + "]");
	ofile fs;
	openOutput(fs, samples);
	fs << sample_header1 << "\n";
	writeSamples(fs);
	fs.close();

	LOG.println("\nWriting site list in [" + legend + "]");
	ofile fl;
	openOutput(fl, legend);
	fl << "id position a0 a1\n";
	for (int l = 0 ; l < set.sites->size() ; l ++) {
		snp * s = set.sites->getByIndex(l);
		if (filter.checkSnp(s->bp)) fl << s->id << " " << s->bp << " " << s->a0 << " " << s->a1 << "\n";
	}
	fl.close();

	LOG.println("\nWriting haplotypes in [" + haplotypes + "]");
	std::vector < const chaplotype * > c0 = columns(0), c1 = columns(1);
	std::string line;
	ofile fh;
	openOutput(fh, haplotypes);
	for (int l = 0 ; l < set.sites->size() ; l ++) {
		if (!filter.checkSnp(set.sites->getByIndex(l)->bp)) continue;
		alleleLine(c0, c1, l, line);
		fh << line << "\n";
	}
	fh.close();
}

// The header: the format, the date, the program and its version, the log file, the
// command line, the contigs, filters, INFO and FORMAT fields that a VCF input declared, as
// they were, then the declarations that the sites need and the input lacked. A site read
// from plink files is written with its reference allele as REF, and a haploid sample (a
// male on chromosome X) with one allele.
void haplotype_writer::writeHaplotypeVcf(std::string vcf, bool confidence, bool singletons_placed, bool transform_states, work_queue & workers) {
	LOG.println("\nWriting haplotypes in [" + vcf + "] in VCF format");
	vcf_output fv;
	if (!fv.open(vcf, workers.size())) LOG.error("Impossible to create file [" + vcf + "]");
	std::ostringstream head;
	head << "##fileformat=VCFv4.2\n";
	head << "##fileDate=" << sutils::date2str(&START_DATE, "%Y%m%d") << "\n";
	head << "##source=SORVANE2.v" << SORVANE_REVISION << "\n";
	head << "##log_file=" << LOG.name() << "\n";
	if (!COMMAND_LINE.empty()) head << "##sorvaneCommand=" << COMMAND_LINE << "\n";
	// Declarations by kind and ID, as "INFO:AC".
	std::set < std::string > declared;
	for (const std::string & l : set.sites->vcf_header) {
		// The input's own PP, if any, would not describe these genotypes.
		if (confidence && l.compare(0, 15, "##FORMAT=<ID=PP") == 0 && declaredId(l) == "PP") continue;
		head << l << "\n";
		declared.insert(l.substr(2, l.find('=') - 2) + ":" + declaredId(l));
	}
	for (int l = 0 ; l < set.sites->size() ; l ++) {
		snp * s = set.sites->getByIndex(l);
		if (declared.insert("contig:" + s->chr).second) head << "##contig=<ID=" << s->chr << ">\n";
		if (s->properties.size() != 3) continue;
		const std::vector < std::string > & p = s->properties;
		if (p[1] != "." && p[1] != "PASS") for (std::string & f : split(p[1], ';')) if (declared.insert("FILTER:" + f).second)
			head << "##FILTER=<ID=" << f << ",Description=\"As in the input\">\n";
		if (p[2] != ".") for (std::string & item : split(p[2], ';')) {
			const size_t eq = item.find('=');
			const std::string key = item.substr(0, eq);
			if (!declared.insert("INFO:" + key).second) continue;
			if (key == "AC") head << "##INFO=<ID=AC,Number=A,Type=Integer,Description=\"Allele count in genotypes\">\n";
			else if (key == "AN") head << "##INFO=<ID=AN,Number=1,Type=Integer,Description=\"Total number of alleles in called genotypes\">\n";
			else if (eq == std::string::npos) head << "##INFO=<ID=" << key << ",Number=0,Type=Flag,Description=\"As in the input\">\n";
			else head << "##INFO=<ID=" << key << ",Number=.,Type=String,Description=\"As in the input\">\n";
		}
	}
	if (declared.insert("FORMAT:GT").second) head << "##FORMAT=<ID=GT,Number=1,Type=String,Description=\"Phased Genotype\">\n";
	if (confidence) head << "##FORMAT=<ID=PP,Number=1,Type=Float,Description=\"Probability that the phase of this heterozygous genotype relative to the previous heterozygous genotype of the sample is as written\">\n";
	head << "#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT";
	for (const haplotype_index & h : order) head << "\t" << identifier(h);
	head << "\n";
	fv.header(head.str());

	std::vector < bool > written (set.sites->size());
	for (int l = 0 ; l < set.sites->size() ; l ++) written[l] = filter.checkSnp(set.sites->getByIndex(l)->bp);
	std::vector < std::vector < float > > pp;
	if (confidence) phaseConfidences(written, singletons_placed, transform_states, pp, workers);
	// Per output sample, the heterozygous genotypes written so far.
	std::vector < int > hets (order.size(), 0);
	std::vector < const chaplotype * > c0 = columns(0), c1 = columns(1);
	std::string line, calls;
	for (int l = 0 ; l < set.sites->size() ; l ++) {
		snp * s = set.sites->getByIndex(l);
		if (!written[l]) continue;
		const bool swap = s->ref_a1 && s->a0 != s->a1;
		int ac = 0, an = 0;
		calls.clear();
		for (unsigned int k = 0 ; k < order.size() ; k ++) {
			const int b0 = allele(c0, c1, k, l, 0) ^ swap, b1 = allele(c0, c1, k, l, 1) ^ swap;
			calls += '\t';
			calls += (char)('0' + b0);
			ac += b0;
			an ++;
			const bool haploid = order[k].kind == 0;
			if (!haploid) {
				calls += '|';
				calls += (char)('0' + b1);
				ac += b1;
				an ++;
			}
			if (!confidence) continue;
			// Haploid, homozygous and first heterozygous genotypes have no phase to rate.
			calls += ':';
			if (haploid || b0 == b1 || hets[k] ++ == 0) calls += '.';
			else appendProbability(calls, pp[k][hets[k] - 2]);
		}
		// A site seen with one allele only (in plink files) has no ALT allele.
		line = s->chr + "\t" + std::to_string(s->bp) + "\t" + s->id + "\t" + (swap ? s->a1 + "\t" + s->a0 : s->a0 + "\t" + (s->a0 == s->a1 ? "." : s->a1));
		// QUAL, FILTER and INFO of a VCF input come back; any other site gets fixed columns.
		if (s->properties.size() == 3) line += "\t" + s->properties[0] + "\t" + s->properties[1] + "\t" + recount(s->properties[2], ac, an);
		else line += "\t.\tPASS\t.";
		line += (confidence ? "\tGT:PP" : "\tGT") + calls;
		fv.line(line);
	}
	fv.close();
}
