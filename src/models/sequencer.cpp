#include "models/sequencer.h"
#include "utils/lfile.h"
#include "utils/myException.h"
#include "utils/sutils.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <set>

// A read under this many times its alternative placements would underflow the weights.
static const double underflow = 1e-300;

// The format leaves no room for guessing: a malformed line stops the run, naming the line.
[[noreturn]] static void malformed(ifile & fd, int line, const std::string & what) {
	LOG.error("PIRs file wrongly formatted at line " + sutils::int2str(line) + " of [" + fd.name() + "]: " + what);
}

// A count or an index: a whole number from 0, or -1.
static int wholeNumber(const std::string & text) {
	const char * begin = text.c_str();
	char * end;
	errno = 0;
	long value = strtol(begin, &end, 10);
	if (end == begin || *end != '\0' || errno == ERANGE || value < 0 || value > INT_MAX) return -1;
	return value;
}

static bool nextLine(ifile & fd, int & line, std::string & buffer) {
	if (!std::getline(fd, buffer)) return false;
	line ++;
	return true;
}

sequencer::sequencer(snp_set * _snps, std::vector < int > * _mapping) : snps(_snps), mapping(_mapping), record_line(0) {
}

void sequencer::readMap(ifile & fd, int & line, snp_set * snps, std::vector < int > & mapping, int & n_found, int & n_missed) {
	std::string buffer;
	std::vector < std::string > tokens;
	mapping.clear();
	n_found = n_missed = 0;
	line = 0;
	if (!nextLine(fd, line, buffer) || sutils::tokenize(buffer, tokens) == 0 || tokens[0] != "MAP")
		LOG.error("PIRs file wrongly formatted (I do not detect a map inside)!");
	const std::string count = tokens.size() > 1 ? tokens[1] : "";
	const int M = wholeNumber(count);
	if (M < 0) malformed(fd, line, "the number of map lines [" + count + "] is not a whole number");
	for (int m = 0 ; m < M ; m ++) {
		if (!nextLine(fd, line, buffer)) malformed(fd, line + 1, "the file ends inside the map of " + sutils::int2str(M) + " lines");
		if (sutils::tokenize(buffer, tokens) < 3) malformed(fd, line, "a map line needs a position and two alleles");
		snp * s = snps->getByRef(sutils::str2bp(tokens[0], fd.name(), line), tokens[1], tokens[2]);
		mapping.push_back(s ? s->idx : -1);
		if (s) n_found ++;
		else n_missed ++;
	}
}

void sequencer::readPIRs(ifile & fd, int & line, std::string & id, int & n_read, int & n_kept) {
	std::string buffer;
	std::vector < std::string > tokens;
	reads.clear();
	id.clear();
	n_read = n_kept = 0;
	// Blank lines between records, and at the end, are allowed.
	do {
		if (!nextLine(fd, line, buffer)) return;
	} while (sutils::tokenize(buffer, tokens) == 0);
	id = tokens[0];
	record_line = line;
	const std::string count = tokens.size() > 1 ? tokens[1] : "";
	n_read = wholeNumber(count);
	if (n_read < 0) malformed(fd, line, "the number of reads [" + count + "] of sample " + id + " is not a whole number");
	const int M = mapping->size();
	for (int r = 0 ; r < n_read ; r ++) {
		if (!nextLine(fd, line, buffer)) malformed(fd, line + 1, "the file ends inside the " + sutils::int2str(n_read) + " reads of sample " + id);
		const int n_words = sutils::tokenize(buffer, tokens);
		if (n_words % 3) malformed(fd, line, "a read is made of triples (map index, base, Phred quality), this line has " + sutils::int2str(n_words) + " words");
		std::vector < std::pair < int, float > > read;
		for (int k = 0 ; k < n_words ; k += 3) {
			const int i = wholeNumber(tokens[k]);
			if (i < 0 || i >= M) malformed(fd, line, "the map index [" + tokens[k] + "] is not within the map of " + sutils::int2str(M) + " lines");
			char * end;
			const double Q = strtod(tokens[k + 2].c_str(), &end);
			if (*end != '\0' || !(Q >= 0 && Q <= 1e6)) malformed(fd, line, "the Phred quality [" + tokens[k + 2] + "] is not a number from 0");
			const int s = (*mapping)[i];
			if (s < 0) continue;
			const float q = pow(10.0, -0.1 * Q);
			snp * site = snps->vecS[s];
			if (tokens[k + 1] == site->a0) read.push_back(std::make_pair(s, q));
			else if (tokens[k + 1] == site->a1) read.push_back(std::make_pair(s, 1.0f - q));
		}
		if (read.size() >= 2) reads.push_back(read);
	}
	n_kept = reads.size();
}

// A read lists each of its sites once per observation; the pileup lists it once per site.
void sequencer::pileupReads(int n_sites) {
	pileup.assign(n_sites, std::vector < int > ());
	for (unsigned int r = 0 ; r < reads.size() ; r ++) for (const std::pair < int, float > & o : reads[r]) {
		std::vector < int > & covering = pileup[o.first];
		if (covering.empty() || covering.back() != (int)r) covering.push_back(r);
	}
}

// The covered count looks at the first n_het sites of the pileup, not at the heterozygous
// ones: a figure for the log only.
static int countCovered(const std::vector < std::vector < int > > & pileup, int n_het) {
	int n = 0;
	for (int l = 0 ; l < n_het ; l ++) if (!pileup[l].empty()) n ++;
	return n;
}

void sequencer::pileupPIRs(genotype_graph * G, int & n_het, int & n_covered) {
	n_het = 0;
	for (int l = 0 ; l < snps->size() ; l ++) if (G->Ambs[l] && snps->vecS[l]->isSNP()) n_het ++;
	pileupReads(snps->size());
	n_covered = countCovered(pileup, n_het);
}

void sequencer::pileupPIRs(chaplotype & h0, chaplotype & h1, int & n_het, int & n_covered) {
	n_het = 0;
	for (int l = 0 ; l < snps->size() ; l ++) if (h0[l] != h1[l]) n_het ++;
	pileupReads(snps->size());
	n_covered = countCovered(pileup, n_het);
}

void sequencer::joinedSites(genotype_graph * G, std::vector < int > & sites) const {
	sites.clear();
	std::vector < int > hets;
	for (const std::vector < std::pair < int, float > > & read : reads) {
		hets.clear();
		for (const std::pair < int, float > & o : read) if (G->Ambs[o.first] && snps->vecS[o.first]->isSNP()) hets.push_back(o.first);
		std::sort(hets.begin(), hets.end());
		hets.erase(std::unique(hets.begin(), hets.end()), hets.end());
		if (hets.size() >= 2) sites.insert(sites.end(), hets.begin(), hets.end());
	}
	std::sort(sites.begin(), sites.end());
	sites.erase(std::unique(sites.begin(), sites.end()), sites.end());
}

void sequencer::makeRows(const std::vector < int > & ids, const std::vector < int > & kept, unsigned int limit, std::vector < sread > & rows) const {
	rows.clear();
	for (int r : ids) {
		if (rows.size() == limit) return;
		sread row ("", kept.size());
		for (const std::pair < int, float > & o : reads[r]) {
			std::vector < int >::const_iterator it = std::lower_bound(kept.begin(), kept.end(), o.first);
			if (it != kept.end() && *it == o.first) row.probs[it - kept.begin()] = o.second;
		}
		if (row.countHets() >= 2) rows.push_back(row);
	}
}

// Scales weights whose total is below 1 up to a total of 1, against underflow in the products.
static void scale(std::vector < std::vector < double > > & W) {
	double total = 0.0;
	for (const std::vector < double > & w : W) for (double x : w) total += x;
	if (total >= 1.0) return;
	for (std::vector < double > & w : W) for (double & x : w) x /= total;
}

// Each inner group g, from segment g - 1 to segment g, gets read weights on its transitions:
// per transition, the product over the reads spanning the two segments of the chance of the
// read from either track, the tracks equally likely. At most max_reads reads count.
void sequencer::processPIRs(genotype_graph * G, int & n_group, int & n_used) {
	const int S = G->HapsC.size(), n = G->type;
	int start = 0;
	for (int g = 1 ; g < S ; g ++) {
		const int middle = start + G->HapsS[g - 1], end = middle + G->HapsS[g];
		std::vector < int > marked;
		for (int l = start ; l < end ; l ++) if (G->Ambs[l] && snps->vecS[l]->isSNP()) marked.push_back(l);
		std::set < int > covering;
		for (int l : marked) covering.insert(pileup[l].begin(), pileup[l].end());
		std::vector < sread > rows;
		makeRows(std::vector < int > (covering.begin(), covering.end()), marked, max_reads, rows);

		if (!rows.empty()) {
			// Weights of each read for every fragment pair that a track of the group takes:
			// the low four bits of a byte name the fragment of segment g - 1, the high four bits
			// that of segment g.
			std::vector < bool > used;
			G->mask1D(g, used);
			std::vector < std::vector < double > > W (rows.size(), std::vector < double > (256, 0.0));
			std::vector < bool > H (marked.size());
			for (int b = 0 ; b < 256 ; b ++) if (used[b]) {
				for (unsigned int k = 0 ; k < marked.size() ; k ++) {
					const int l = marked[k];
					H[k] = (l < middle) ? G->getA(g - 1, b & 15, l - start) : G->getA(g, b >> 4, l - middle);
				}
				for (unsigned int r = 0 ; r < rows.size() ; r ++) W[r][b] = rows[r].computeProb(H);
			}
			scale(W);

			std::vector < double > weight (G->probsC[g], 1.0);
			double sum = 0.0;
			for (unsigned int t = 0 ; t < G->probsC[g] ; t ++) {
				const unsigned char * bytes = &G->trans[(G->probsI[g] + t) * n];
				for (unsigned int r = 0 ; r < rows.size() ; r ++) {
					double tracks = 0.0;
					for (int j = 0 ; j < n ; j ++) tracks += W[r][bytes[j]];
					weight[t] *= tracks / n;
				}
				sum += weight[t];
			}
			if (sum < underflow || std::isnan(sum)) throw myException((std::isnan(sum) ? "NaN in sequencing" : "Underflow in sequencing") + (" / i=" + G->name + " b=" + sutils::int2str(g) + " sp=" + sutils::double2str(sum, 10)));
			for (unsigned int t = 0 ; t < G->probsC[g] ; t ++) G->probs[G->probsI[g] + t] = std::max(1e-8, weight[t] / sum);
			n_used ++;
		}
		n_group ++;
		start = middle;
	}
}

// Each site to phase is tried with its alternative allele on h1 (pair A) and on h0 (pair B),
// given the reads over it and over the heterozygotes of the scaffold; the likelier pair wins,
// pair A on a tie. Other sites to phase on the same reads do not count.
void sequencer::processPIRs(chaplotype & h0, chaplotype & h1, int & n_seen, int & n_phased, std::vector < float > & status) {
	for (int m = 0 ; m < (int)status.size() ; m ++) {
		if (status[m] != -1.0f) continue;
		n_seen ++;
		std::vector < int > kept;
		for (int r : pileup[m]) for (const std::pair < int, float > & o : reads[r])
			if (o.first == m || status[o.first] == -3.0f) kept.push_back(o.first);
		std::sort(kept.begin(), kept.end());
		kept.erase(std::unique(kept.begin(), kept.end()), kept.end());
		std::vector < sread > rows;
		makeRows(pileup[m], kept, pileup[m].size(), rows);
		if (rows.empty()) continue;

		// A0, A1, B0, B1 over the kept sites.
		std::vector < std::vector < bool > > pairs (4, std::vector < bool > (kept.size()));
		for (unsigned int k = 0 ; k < kept.size() ; k ++) {
			const bool mutation = kept[k] == m;
			pairs[0][k] = mutation ? false : h0[kept[k]];
			pairs[1][k] = mutation ? true : h1[kept[k]];
			pairs[2][k] = mutation ? true : h0[kept[k]];
			pairs[3][k] = mutation ? false : h1[kept[k]];
		}
		std::vector < std::vector < double > > W (rows.size(), std::vector < double > (4));
		for (unsigned int r = 0 ; r < rows.size() ; r ++) for (int c = 0 ; c < 4 ; c ++) W[r][c] = rows[r].computeProb(pairs[c]);
		scale(W);
		double pA = 1.0, pB = 1.0;
		for (unsigned int r = 0 ; r < rows.size() ; r ++) {
			pA *= W[r][0] + W[r][1];
			pB *= W[r][2] + W[r][3];
		}
		const bool onH1 = pA >= pB;
		h0.set(m, !onH1);
		h1.set(m, onH1);
		status[m] = (onH1 ? pA : pB) / (pA + pB);
		n_phased ++;
	}
}
