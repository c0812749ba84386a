#include "support/sessionStream.h"

#include "session/session.h"
#include "support/console.h"
#include "support/records.h"

const std::string patReceived = "MPEGtopic received: MPEG-STRUCT-PAT\n"
                                "Published MPEG PAT Received: Topic MPEG-STRUCT-PAT\n"
                                "Recv PAT TOPIC size 1240 msgl 1240\n"
                                "PAT Newstream Flag 0 PIDs 3\n";
const std::string pmtReceived = "MPEGtopic received: MPEG-STRUCT-PMT\n"
                                "Published MPEG PMT Received: Topic MPEG-STRUCT-PMT msgl 27376 size 27376\n";
const std::string tsStatusReceived =
    "MPEGtopic received: MPEG-STRUCT-TS-STATUS\n"
    "Published MPEG STAT Received: Topic MPEG-STRUCT-TS-STATUS msgl 2308 size 2308\n";
const std::string sdtReceived = "MPEGtopic received: MPEG-STRUCT-SDT\n"
                                "Published MPEG SDT Received: Topic MPEG-STRUCT-SDT size 5552 msgl 5552\n";
const std::string avPgmReceived =
    "MPEGtopic received: MPEG-STRUCT-AVPGM\n"
    "Published MPEG AVPGM Received: Topic MPEG-STRUCT-AVPGM msgl 29280 size 29280\n";
const std::string catReceived = "MPEGtopic received: MPEG-STRUCT-CAT\n"
                                "Published MPEG CAT Received: Topic MPEG-STRUCT-CAT size 60 msgl 60\n";
const std::string nitReceived = "MPEGtopic received: MPEG-STRUCT-NIT\n"
                                "Published MPEG NIT Received: Topic MPEG-STRUCT-NIT size 2280 msgl 2280\n";
const std::string eitReceived = "MPEGtopic received: MPEG-STRUCT-EIT\n"
                                "Published MPEG EIT Received: Topic MPEG-STRUCT-EIT size 6504, msgl 6504\n";
const std::string tdtReceived = "MPEGtopic received: MPEG-STRUCT-TDT\n"
                                "Published MPEG TDT Received: Topic MPEG-STRUCT-TDT\n";
const std::string newStreamPatReceived = "MPEGtopic received: MPEG-STRUCT-PAT\n"
                                         "Published MPEG PAT Received: Topic MPEG-STRUCT-PAT\n"
                                         "Recv PAT TOPIC size 1240 msgl 1240\n"
                                         "PAT Newstream Flag -31 PIDs 3\n"
                                         "\n\n\nNewstream in MPEGdata\n\n\n";
const std::string newStreamHandled = "New Stream Encountered\n"
                                     "> unsubscribe MPEG-STRUCT-PAT\n"
                                     "> unsubscribe MPEG-STRUCT-SDT\n"
                                     "> unsubscribe MPEG-STRUCT-TS-STATUS\n"
                                     "> unsubscribe MPEG-STRUCT-PMT\n"
                                     "> unsubscribe MPEG-STRUCT-AVPGM\n"
                                     "> unsubscribe MPEG-STRUCT-CAT\n"
                                     "> unsubscribe MPEG-STRUCT-NIT\n"
                                     "> unsubscribe MPEG-STRUCT-EIT\n"
                                     "> unsubscribe MPEG-STRUCT-TDT\n";
const std::string feedOpened = "Init MPEG Feed ZMQ channel\n"
                               "Connect SUB1 to MPEG PUB OK\n"
                               "Connect MMR1 REQ Instructor to MPEGFE1 MPEG REP OK\n"
                               "Init MPEG Subscriber and Instruction Channels OK\n";
const std::string feedClosed = "MLC: MPEG SUB and Instr Channels for Media MLC 1 Closed\n";
const std::string summaryPrinted =
    "SDT Svcs 1 Scrambled 0 Rate   6000.000\n"
    "Service: News One                  Provider: Alpha Net  PMT:    256 CA: 0 "
    "Scrambled 0 Rate:      0.003Mbps\n";

std::string documentSent(int requestCode, const std::string& document) {
    return "sendJsonToGUI entered req " + std::to_string(requestCode) + "\n> document " + document + "\n";
}

std::string pidListSent() {
    const std::string document =
        R"({"requestReply":"dataStream","dataStream":"pidData","pidData":{)"
        R"("pidCount":"3","aggStreamRate":"   6.000Kbps","pids":[)"
        R"({"patIndex":"0","pidOrder":"0","pidNum":"0","pidType":"8","referencePID":"0","pgmNum":"0",)"
        R"("pidRate":"   1.000Kbps","scrambled":"0","description":"PAT"},)"
        R"({"patIndex":"0","pidOrder":"1","pidNum":"17","pidType":"8","referencePID":"0","pgmNum":"0",)"
        R"("pidRate":"   2.000Kbps","scrambled":"0","description":"SDT"},)"
        R"({"patIndex":"0","pidOrder":"2","pidNum":"256","pidType":"1","referencePID":"0","pgmNum":"0",)"
        R"("pidRate":"   3.000Kbps","scrambled":"0","description":"PMT"}]}})";
    return "sendJsonToGUI entered req 1\n"
           "PID Json complete length " +
           std::to_string(document.size()) + "\n> document " + document + "\n";
}

std::string programListSent() {
    return documentSent(
        3, R"({"requestReply":"dataStream","dataStream":"pgmData","pgmData":{)"
           R"("svcCount":"1","derived":"0","aggStreamRate":"   6.000Kbps","scrambledCount":"0","pgms":[)"
           R"({"pgmNum":"501","patIndex":"0","svcType":"1","referencePID":"256","pidCount":"2",)"
           R"("pgmRate":"   3.000Kbps","caFlag":"0","allScrambled":"0","svcProvider":"Alpha Net",)"
           R"("svcName":"News One"}]}})");
}

std::string programDetailSent() {
    return documentSent(5,
                        R"({"requestReply":"dataStream","dataStream":"pgmDetail","pgmDetail":{)"
                        R"("pidCount":"0","details":[{"pidType":"PMT","pidNum":"256","pgmNum":"501"},]}})");
}

StreamTest::StreamTest() {
    listPids({{0, 1000}, {17, 2000}, {256, 3000}});
    announcePrograms({{.pgmNum = 501, .pmtPid = 256, .pcrPid = 600, .videoPid = 601}});
    listServices(newestRecords.sdt, {{.serviceId = 501,
                                      .serviceType = 1,
                                      .pmtPid = 256,
                                      .pidCount = 2,
                                      .providerName = "Alpha Net",
                                      .serviceName = "News One"}});
    newestRecords.cat.tableId = 1;
    newestRecords.nit.tableId = 0x40;
    newestRecords.eit.tableId = 0x4E;
    newestRecords.tdt.tableId = 0x70;
    pat = publishedNow(patTopic);
    pmt = publishedNow(pmtTopic);
    tsStatus = publishedNow(tsStatusTopic);
    sdt = publishedNow(sdtTopic);
    avPgm = publishedNow(avPgmTopic);
    cat = publishedNow(catTopic);
    nit = publishedNow(nitTopic);
    eit = publishedNow(eitTopic);
    tdt = publishedNow(tdtTopic);
    newestRecords.pat.newStreamFlag = newStreamMark;
    newStreamPat = publishedNow(patTopic);
    newestRecords.pat.newStreamFlag = 0;
    newestRecords.pat.pidList[1] = 18;
    newestRecords.pat.sectionProgramCount = 1;
    newestRecords.pat.sectionPrograms[0] = {501, 256};
    patWithoutSdtPid = publishedNow(patTopic);
    clearProcessState();
    session.docSocket = trufios.documentSocket();
}

void StreamTest::openFeed(std::initializer_list<Topic> subscribed) {
    consoleOf([&] {
        init_mpeg_zmq_sub_context(&feed);
        subscribeTopics(&feed, subscribed);
    });
}

std::string StreamTest::run() {
    return consoleOf([&] { sendMpegData(&session, &feed); });
}
