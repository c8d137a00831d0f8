#include "models/sequencer.h"
#include "test_utils.h"
#include "utils/myException.h"

#include <gtest/gtest.h>

using testutils::TempDir;

namespace {

// Sites at 100, 200, 300, 400, each one base to one base.
struct Sites {
	snp_set S;
	Sites() {
		const char * alleles[4][2] = { { "A", "G" }, { "C", "T" }, { "G", "A" }, { "T", "C" } };
		for (int l = 0 ; l < 4 ; l ++) S.put(new snp("20", 100 * (l + 1), alleles[l][0], alleles[l][1], 5));
		S.indexing();
	}
};

// The records of a PIR file written in a temporary folder, read one by one.
struct PirFile {
	TempDir d;
	ifile fd;
	int line;
	std::vector < int > mapping;
	int n_found, n_missed;

	PirFile(snp_set & S, const std::string & content) {
		d.write("reads.pir", content);
		fd.open(d.file("reads.pir"));
		sequencer::readMap(fd, line, &S, mapping, n_found, n_missed);
	}
};

std::string mapSection() {
	// 250 is not a site of the data; 300 has its alleles the other way round.
	return "MAP 5\n100 A G\n200 C T\n250 A C\n300 A G\n400 T C\n";
}

TEST(sequencer, ReadsMapAndRecords) {
	Sites T;
	PirFile P(T.S, mapSection() + "S1 3\n0 A 20 1 T 20 2 A 30\n0 G 0 4 N 20\n0 G 0 4 T 0\n\nS2 1\n3 T 10 4 C 10\n");
	EXPECT_EQ(P.mapping, std::vector < int > ({ 0, 1, -1, -1, 3 }));
	EXPECT_EQ(P.n_found, 3);
	EXPECT_EQ(P.n_missed, 2);

	sequencer S(&T.S, &P.mapping);
	std::string id;
	int n_read, n_kept;
	S.readPIRs(P.fd, P.line, id, n_read, n_kept);
	EXPECT_EQ(id, "S1");
	EXPECT_EQ(n_read, 3);
	// The second read keeps one triple and is dropped; quality 0 makes a base certain.
	ASSERT_EQ(n_kept, 2);
	EXPECT_EQ(S.reads[0][0].first, 0);
	EXPECT_FLOAT_EQ(S.reads[0][0].second, 0.01f);
	EXPECT_EQ(S.reads[0][1].first, 1);
	EXPECT_FLOAT_EQ(S.reads[0][1].second, 0.99f);
	EXPECT_EQ(S.reads[1], (std::vector < std::pair < int, float > > ({ { 0, 0.0f }, { 3, 1.0f } })));
	// A blank line between records is passed over; a swapped site counts as unknown.
	S.readPIRs(P.fd, P.line, id, n_read, n_kept);
	EXPECT_EQ(id, "S2");
	EXPECT_EQ(n_read, 1);
	EXPECT_EQ(n_kept, 0);
	S.readPIRs(P.fd, P.line, id, n_read, n_kept);
	EXPECT_EQ(id, "");
	EXPECT_EQ(P.line, 13);
}

void readFirstRecord(const std::string & content) {
	Sites T;
	PirFile P(T.S, content);
	sequencer S(&T.S, &P.mapping);
	std::string id;
	int n_read, n_kept;
	S.readPIRs(P.fd, P.line, id, n_read, n_kept);
}

TEST(sequencer, MalformedFilesNameTheLine) {
	const std::string body = "MAP 1\n100 A G\n";
	const std::vector < std::pair < std::string, std::string > > cases = {
		{ "", "I do not detect a map inside" },
		{ "MAPS 1\n100 A G\n", "I do not detect a map inside" },
		{ "MAP\n", "line 1 of .*number of map lines \\[\\] is not a whole number" },
		{ "MAP -2\n", "line 1 of .*number of map lines \\[-2\\]" },
		{ "MAP 3\n100 A G\n", "line 3 of .*ends inside the map of 3 lines" },
		{ "MAP 1\n100 A\n", "line 2 of .*a map line needs a position and two alleles" },
		{ "MAP 1\n1x0 A G\n", "Position 1x0 at line 2" },
		{ body + "S1 z\n", "line 3 of .*number of reads \\[z\\] of sample S1" },
		{ body + "S1\n", "line 3 of .*number of reads \\[\\] of sample S1" },
		{ body + "S1 2\n0 A 20 0 G 20\n", "line 5 of .*ends inside the 2 reads of sample S1" },
		{ body + "S1 1\n0 A 20 0 G\n", "line 4 of .*triples.*this line has 5 words" },
		{ body + "S1 1\n0 A 20 1 G 20\n", "line 4 of .*map index \\[1\\] is not within the map of 1 lines" },
		{ body + "S1 1\n0 A 20 x G 20\n", "line 4 of .*map index \\[x\\]" },
		{ body + "S1 1\n0 A 20 0 G -3\n", "line 4 of .*Phred quality \\[-3\\] is not a number from 0" },
		{ body + "S1 1\n0 A 20 0 G 2O\n", "line 4 of .*Phred quality \\[2O\\]" },
	};
	for (const std::pair < std::string, std::string > & c : cases) {
		SCOPED_TRACE(c.first);
		EXPECT_LOG_ERROR(readFirstRecord(c.first), c.second);
	}
}

// An unrelated sample heterozygous at three sites: segment 0 holds sites 0 and 1 with the
// fragments 01 and 10, segment 1 site 2 with the fragments 0 and 1. Group 1 has two
// transitions: t0 keeps the tracks (bytes 0x00, 0x11), t1 crosses them (0x10, 0x01).
struct TinyGraph {
	Sites T;
	genotype_graph G;
	TinyGraph() : G(2, 0) {
		G.name = "S1";
		std::vector < std::vector < bool > > seg0 = { { 0, 1 }, { 1, 0 } }, seg1 = { { 0 }, { 1 } };
		std::vector < std::vector < int > > g0 = { { 0 }, { 0 }, { 0 }, { 1 } }, g1 = { { 0, 0 }, { 0, 1 }, { 1, 1 }, { 1, 0 } }, g2 = { { 0, 1 }, { 0, 0 }, { 1, 0 }, { 0, 0 } };
		G.pushTrans(g0);
		G.pushHaps(seg0);
		G.pushTrans(g1);
		G.pushHaps(seg1);
		G.pushTrans(g2);
		G.Ambs = { true, true, true, false };
		G.initialise();
	}
	// Runs the reads, each a list of (site, probability of allele 1), on the graph.
	void weigh(const std::vector < std::vector < std::pair < int, float > > > & reads, int & n_group, int & n_used) {
		std::vector < int > mapping;
		sequencer S(&T.S, &mapping);
		S.reads = reads;
		int n_het, n_covered;
		S.pileupPIRs(&G, n_het, n_covered);
		EXPECT_EQ(n_het, 3);
		S.processPIRs(&G, n_group, n_used);
	}
};

TEST(sequencer, GraphWeightsByHand) {
	// One read, allele 1 at sites 1 and 2 with error 0.01: t0 = (0.99 x 0.01 + 0.01 x 0.99) / 2,
	// t1 = (0.99 x 0.99 + 0.01 x 0.01) / 2, normalised: 0.0198 and 0.9802.
	TinyGraph A;
	int n_group = 0, n_used = 0;
	A.weigh({ { { 1, 0.99f }, { 2, 0.99f } } }, n_group, n_used);
	EXPECT_EQ(n_group, 1);
	EXPECT_EQ(n_used, 1);
	EXPECT_NEAR(A.G.probs[1], 0.0198, 1e-6);
	EXPECT_NEAR(A.G.probs[2], 0.9802, 1e-6);
	EXPECT_FLOAT_EQ(A.G.probs[0], 1.0f);
	EXPECT_FLOAT_EQ(A.G.probs[3], 0.5f);

	// Uninformative reads first: the sixteenth, which would decide, is not used.
	TinyGraph B;
	std::vector < std::vector < std::pair < int, float > > > reads (15, { { 0, 0.5f }, { 2, 0.5f } });
	reads.push_back({ { 1, 0.99f }, { 2, 0.99f } });
	B.weigh(reads, n_group, n_used);
	EXPECT_FLOAT_EQ(B.G.probs[1], 0.5f);
	EXPECT_FLOAT_EQ(B.G.probs[2], 0.5f);

	// Certain reads against both transitions: nothing is left, sum 0.
	TinyGraph C;
	EXPECT_THROW({
		try {
			C.weigh({ { { 1, 1.0f }, { 2, 1.0f } }, { { 1, 1.0f }, { 2, 0.0f } } }, n_group, n_used);
		} catch (myException & e) {
			EXPECT_STREQ(e.what(), "Underflow in sequencing / i=S1 b=1 sp=0.0000000000");
			throw;
		}
	}, myException);
}

TEST(sequencer, GraphSitesThatCannotWeigh) {
	// Site 1 not ambiguous: the read keeps one marked site and the group is left alone; a
	// read whose second site is outside the graph's ambiguous sites too.
	TinyGraph A;
	A.G.Ambs[1] = false;
	int n_group = 0, n_used = 0;
	std::vector < int > mapping;
	sequencer S(&A.T.S, &mapping);
	S.reads = { { { 1, 0.99f }, { 2, 0.99f } }, { { 2, 0.99f }, { 3, 0.99f } } };
	int n_het, n_covered;
	S.pileupPIRs(&A.G, n_het, n_covered);
	EXPECT_EQ(n_het, 2);
	// The count looks at the first n_het sites: site 1 is covered, site 0 not.
	EXPECT_EQ(n_covered, 1);
	S.processPIRs(&A.G, n_group, n_used);
	EXPECT_EQ(n_group, 1);
	EXPECT_EQ(n_used, 0);
	EXPECT_FLOAT_EQ(A.G.probs[1], 0.5f);
	// Neither read joins two heterozygotes; a third one joins sites 0 and 2, which keep their phase.
	std::vector < int > joined;
	S.joinedSites(&A.G, joined);
	EXPECT_TRUE(joined.empty());
	S.reads.push_back({ { 2, 0.99f }, { 0, 0.01f }, { 2, 0.99f } });
	S.joinedSites(&A.G, joined);
	EXPECT_EQ(joined, std::vector < int > ({ 0, 2 }));
}

// Four sites of one sample: 0 a scaffold heterozygote (0 on h0, 1 on h1), 1 and 3 new
// heterozygotes in VCF order (0, 1), 2 a scaffold homozygote.
struct Mutations {
	Sites T;
	chaplotype h0, h1;
	std::vector < float > status = { -3.0f, -1.0f, -4.0f, -1.0f };
	int n_seen = 0, n_phased = 0;
	Mutations(const std::vector < std::vector < std::pair < int, float > > > & reads) : h0(4), h1(4) {
		for (int l : { 0, 1, 3 }) h1.set(l, true);
		std::vector < int > mapping;
		sequencer S(&T.S, &mapping);
		S.reads = reads;
		int n_het, n_covered;
		S.pileupPIRs(h0, h1, n_het, n_covered);
		EXPECT_EQ(n_het, 3);
		S.processPIRs(h0, h1, n_seen, n_phased, status);
	}
};

TEST(sequencer, MutationsByHand) {
	struct Case { std::vector < std::vector < std::pair < int, float > > > reads; float status1; int h1_at1; int phased; };
	const std::vector < Case > cases = {
		// Allele 1 at the anchor and at the mutation: pair A, (0.01^2 + 0.99^2) / 1.
		{ { { { 0, 0.99f }, { 1, 0.99f } } }, 0.9802f, 1, 1 },
		// Allele 0 at the mutation: pair B.
		{ { { { 0, 0.99f }, { 1, 0.01f } } }, 0.9802f, 0, 1 },
		// One read each way: a tie goes to pair A.
		{ { { { 0, 0.99f }, { 1, 0.99f } }, { { 0, 0.99f }, { 1, 0.01f } } }, 0.5f, 1, 1 },
		// Two mutations, or a mutation and a homozygote, anchor nothing.
		{ { { { 1, 0.01f }, { 3, 0.99f } }, { { 1, 0.01f }, { 2, 0.99f } } }, -1.0f, 1, 0 },
	};
	for (const Case & c : cases) {
		Mutations M(c.reads);
		EXPECT_EQ(M.n_seen, 2);
		EXPECT_EQ(M.n_phased, c.phased);
		EXPECT_NEAR(M.status[1], c.status1, 1e-5);
		EXPECT_EQ(M.h1[1], c.h1_at1);
		EXPECT_EQ(M.h0[1], 1 - c.h1_at1);
		// The mutation without reads and the scaffold sites do not change.
		EXPECT_EQ(M.status[3], -1.0f);
		EXPECT_EQ(M.status[0], -3.0f);
		EXPECT_EQ(M.h0[0] * 10 + M.h1[0], 1);
		EXPECT_EQ(M.h0[3] * 10 + M.h1[3], 1);
	}
}

TEST(sread, ProbabilityOfAHaplotype) {
	sread r ("r", 4);
	EXPECT_EQ(r.countHets(), 0);
	r.probs[0] = 0.9f;
	r.probs[2] = 0.2f;
	EXPECT_EQ(r.countHets(), 2);
	EXPECT_NEAR(r.computeProb({ true, false, false, true }), 0.9 * 0.8, 1e-7);
	EXPECT_NEAR(r.computeProb({ false, true, true, true }), 0.1 * 0.2, 1e-7);
	EXPECT_EQ(r.toString(), "0.900 -1.000 0.200 -1.000");
}

}
