#include "models/sequencer.h"
#include "objects/snp_set.h"
#include "test_utils.h"


namespace {

typedef std::vector < std::vector < std::pair < int, float > > > read_set;

struct Sites {
	snp_set S;
	std::vector < int > mapping;
	sequencer Q;
	Sites() : Q(&S, &mapping) {
		for (int l = 0 ; l < 4 ; l ++) S.put(new snp("20", 100 * (l + 1), std::string(1, "ACGT"[l]), std::string(1, "GTAC"[l]), 5));
		S.indexing();
	}
};

// The folder is the caller's: a death test's child exits without running destructors.
struct PirFile : Sites {
	ifile fd;
	int line, n_found, n_missed, n_read, n_kept;
	std::string id;
	PirFile(const testutils::TempDir & d, const std::string & content) {
		d.write("reads.pir", content);
		fd.open(d.file("reads.pir"));
		sequencer::readMap(fd, line, &S, mapping, n_found, n_missed);
	}
	void next() { Q.readPIRs(fd, line, id, n_read, n_kept); }
};

TEST(sequencer, ReadsMapAndRecords) {
	// 250 is not a site; 300 has its alleles swapped.
	testutils::TempDir d;
	PirFile P(d, "MAP 5\n100 A G\n200 C T\n250 A C\n300 A G\n400 T C\nS1 3\n0 A 20 1 T 20 2 A 30\n0 G 0 4 N 20\n0 G 0 4 T 0\n\nS2 1\n3 T 10 4 C 10\n");
	EXPECT_EQ(P.mapping, std::vector < int > ({ 0, 1, -1, -1, 3 }));
	EXPECT_EQ(P.n_found * 10 + P.n_missed, 32);
	P.next();
	// The second read keeps one triple and is dropped; quality 0 makes a base certain.
	ASSERT_EQ(P.id + " " + std::to_string(P.n_read) + " " + std::to_string(P.n_kept), "S1 3 2");
	EXPECT_EQ(P.Q.reads[0][0].first * 10 + P.Q.reads[0][1].first, 1);
	EXPECT_FLOAT_EQ(P.Q.reads[0][0].second, 0.01f);
	EXPECT_FLOAT_EQ(P.Q.reads[0][1].second, 0.99f);
	EXPECT_EQ(P.Q.reads[1], (std::vector < std::pair < int, float > > ({ { 0, 0.0f }, { 3, 1.0f } })));
	// A blank line between records is passed over; a swapped site counts as unknown.
	P.next();
	EXPECT_EQ(P.id + " " + std::to_string(P.n_read) + " " + std::to_string(P.n_kept), "S2 1 0");
	P.next();
	EXPECT_EQ(P.id, "");
	EXPECT_EQ(P.line, 13);
}

TEST(sequencer, MalformedFilesNameTheLine) {
	testutils::TempDir d;
	EXPECT_LOG_ERROR(PirFile(d, "MAP 3\n100 A G\n").next(), "line 3 of .*ends inside the map of 3 lines");
	EXPECT_LOG_ERROR(PirFile(d, "MAP 1\n100 A G\nS1 1\n0 A 20 0 G -3\n").next(), "line 4 of .*Phred quality \\[-3\\] is not a number from 0");
}

// An unrelated sample heterozygous at sites 0 to 2: segment 0 (sites 0, 1) has fragments 01
// and 10, segment 1 (site 2) 0 and 1; in group 1, t0 keeps the tracks, t1 crosses them.
struct TinyGraph : Sites {
	genotype_graph G;
	int n_het, n_covered, n_group = 0, n_used = 0;
	TinyGraph(const read_set & reads, bool ambiguous1 = true) : G(2, 0) {
		std::vector < std::vector < bool > > seg0 = { { 0, 1 }, { 1, 0 } }, seg1 = { { 0 }, { 1 } };
		std::vector < std::vector < int > > g0 = { { 0 }, { 0 }, { 0 }, { 1 } }, g1 = { { 0, 0 }, { 0, 1 }, { 1, 1 }, { 1, 0 } }, g2 = { { 0, 1 }, { 0, 0 }, { 1, 0 }, { 0, 0 } };
		G.pushTrans(g0), G.pushHaps(seg0), G.pushTrans(g1), G.pushHaps(seg1), G.pushTrans(g2);
		G.Ambs = { true, ambiguous1, true, false };
		G.initialise();
		Q.reads = reads;
		Q.pileupPIRs(&G, n_het, n_covered);
		Q.processPIRs(&G, n_group, n_used);
	}
};

TEST(sequencer, GraphAndMutationWeights) {
	// Allele 1 at sites 1 and 2, error 0.01: t0 = 2 x 0.99 x 0.01 = 0.0198, t1 = 0.9802.
	TinyGraph A({ { { 1, 0.99f }, { 2, 0.99f } } });
	EXPECT_EQ(A.n_het * 100 + A.n_group * 10 + A.n_used, 311);
	EXPECT_NEAR(A.G.probs[1], 0.0198, 1e-6);
	EXPECT_NEAR(A.G.probs[2], 0.9802, 1e-6);
	// Uninformative reads first: the sixteenth, which would decide, is not used.
	read_set reads (15, { { 0, 0.5f }, { 2, 0.5f } });
	reads.push_back({ { 1, 0.99f }, { 2, 0.99f } });
	EXPECT_EQ(TinyGraph(reads).G.probs[1], 0.5f);
	// Site 1 not ambiguous: the group is left alone, as by a read reaching past the graph's
	// ambiguous sites. Of the first n_het sites, site 1 is covered, site 0 not.
	TinyGraph B({ { { 1, 0.99f }, { 2, 0.99f } }, { { 2, 0.99f }, { 3, 0.99f } } }, false);
	EXPECT_EQ(B.n_het * 1000 + B.n_covered * 100 + B.n_group * 10 + B.n_used, 2110);
	EXPECT_EQ(B.G.probs[1], 0.5f);
	// Neither read joins two heterozygotes; a third one joins sites 0 and 2, which keep their phase.
	std::vector < int > joined;
	B.Q.joinedSites(&B.G, joined);
	EXPECT_TRUE(joined.empty());
	B.Q.reads.push_back({ { 2, 0.99f }, { 0, 0.01f }, { 2, 0.99f } });
	B.Q.joinedSites(&B.G, joined);
	EXPECT_EQ(joined, std::vector < int > ({ 0, 2 }));
	// Site 0 a scaffold heterozygote, 1 and 3 new heterozygotes, 2 a scaffold homozygote. One
	// read each way at site 1: the tie puts the allele on h1; site 3, without reads, stays.
	Sites T;
	chaplotype h0(4), h1(4);
	for (int l : { 0, 1, 3 }) h1.set(l, true);
	std::vector < float > status = { -3.0f, -1.0f, -4.0f, -1.0f };
	int n_het, n_covered, n_seen = 0, n_phased = 0;
	T.Q.reads = { { { 0, 0.75f }, { 1, 0.75f } }, { { 0, 0.75f }, { 1, 0.25f } } };
	T.Q.pileupPIRs(h0, h1, n_het, n_covered);
	T.Q.processPIRs(h0, h1, n_seen, n_phased, status);
	EXPECT_EQ(n_het * 100 + n_seen * 10 + n_phased, 321);
	EXPECT_EQ(status, std::vector < float > ({ -3.0f, 0.5f, -4.0f, -1.0f }));
	EXPECT_EQ(h0.toString() + h1.toString(), "00001101");
}

}
