#include "publishedRecords.h"

#include "feed/recordStore.h"
#include "serviceNames.h"

#include <zmq.h>

#include <cstring>

PublishedRecord publishedNow(const Topic& topic) {
    const char* record = reinterpret_cast<const char*>(&newestRecords) + topic.offset;
    return {&topic, {record, record + topic.size}};
}

std::vector<PublishedRecord> allPublishedNow() {
    std::vector<PublishedRecord> records;
    for (const Topic& topic : topics) {
        records.push_back(publishedNow(topic));
    }
    return records;
}

bool publish(void* publisher, const PublishedRecord& record) {
    const char* name = record.topic->name;
    return zmq_send(publisher, name, std::strlen(name), ZMQ_SNDMORE) >= 0 &&
           zmq_send(publisher, "1", 1, ZMQ_SNDMORE) >= 0 &&
           zmq_send(publisher, record.bytes.data(), record.bytes.size(), 0) >= 0;
}
