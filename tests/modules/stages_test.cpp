#include "containers/genhap_set/genhap_set.h"
#include "input/genotype_test_utils.h"
#include "modules/likelihood_maker.h"
#include "objects/genotype_graph_test_utils.h"

namespace {

// n random units of kinds 1 to 4 in turn, each member with random genotype likelihoods.
struct Study {
	snp_set S;
	genhap_set GH;
	std::vector < std::vector < float > > likes;
	std::vector < std::vector < int > > samples;

	Study(int L, int n) {
		for (int l = 0 ; l < L ; l ++) S.put(new snp("1", 100 * (l + 1), "A", "C", 3));
		S.indexing();
		std::vector < genotype_graph * > graphs;
		std::vector < std::string > none;
		for (int i = 0, type = 1 ; i < n ; type = 1 + (++ i) % 4) {
			samples.push_back({});
			for (int m = 0 ; m < std::max(1, type - 1) ; m ++) {
				samples[i].push_back(likes.size());
				likes.push_back(std::vector < float > (3 * L));
				for (float & x : likes.back()) x = 0.05 + putils::getRandom();
			}
			genotype_graph * g = new genotype_graph(graphtest::Unit(type, false, L, 0.3).g);
			std::string name = "u" + std::to_string(i);
			g->index = i;
			g->pushChild(name, samples[i].back(), none);
			if (type == 4 || (type == 3 && i % 8 == 2)) g->pushFather(name, true, samples[i][0], none);
			if (type == 4 || (type == 3 && i % 8 != 2)) g->pushMother(name, true, samples[i][type - 3], none);
			graphs.push_back(g);
		}
		GH.initialise(graphs, &S);
	}
};

}

// Emission weights from the right members' likelihoods, on 1 and 2 threads (other wording).
TEST(stages, LikelihoodsOnOneAndTwoThreads) {
	testutils::silenceLog();
	for (int T : { 1, 2 }) {
		work_queue W (T);
		putils::initRandom(21);
		Study st(40, 16);
		std::vector < genotype_graph > copies;
		for (genotype_graph * g : st.GH.vecG) copies.push_back(*g);
		LOG.unmuteC();
		LOG.terminal = true;
		testing::internal::CaptureStdout();
		likelihood_maker(st.GH, st.likes, W).make();
		const std::string screen = testing::internal::GetCapturedStdout();
		testutils::silenceLog();
		LOG.terminal = false;
		EXPECT_TRUE(testutils::has(screen, std::string("\rComputing ") + (T > 1 ? "of " : "") + "transition likelihoods in graphs [16/16]\n")) << screen;
		for (unsigned int i = 0 ; i < copies.size() ; i ++) {
			genotype_graph & c = copies[i];
			std::vector < std::vector < float > * > s;
			for (int m : st.samples[i]) s.push_back(&st.likes[m]);
			if (c.type == 1) c.computeLikesFromGLsHap(*s[0]);
			else if (c.type == 2) c.computeLikesFromGLsUnr(*s[0]);
			else if (c.type == 3) c.computeLikesFromGLsDuo(*s[0], *s[1]);
			else c.computeLikesFromGLsTri(*s[0], *s[1], *s[2]);
			EXPECT_EQ(st.GH.vecG[i]->likes, c.likes) << i;
		}
	}
}
