#include "model/topicNames.h"

#include <cstdio>

int printTopicNames(TopicBits mask) {
    for (const TopicBits bit : reportOrder) {
        if ((mask & bit) != 0) {
            std::fputs(topicOf(bit).shortName, stdout);
        }
    }
    return std::puts("");
}
