// The records of the store as the parser board publishes them: topic, a part that nobody uses, record.
#pragma once

#include "serviceNames.h"
#include "wire/topics.h"

#include <vector>

// The three parts of one published message.
struct PublishedRecord {
    const Topic* topic;
    std::vector<char> bytes;
};

// The newest record of this topic as it stands now.
PublishedRecord publishedNow(const Topic& topic);

// The newest records of all nine topics, in the order of the topic table.
std::vector<PublishedRecord> allPublishedNow();

// Sends the message on a publisher's socket. False when it could not be sent.
bool publish(void* publisher, const PublishedRecord& record);
