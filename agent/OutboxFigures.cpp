#include "OutboxFigures.h"

#include "platform/metrics/PrometheusText.h"

std::string OutboxFigures(const SKtsOutboxStatus& status)
{
    using metrics::AddSingle;
    using std::to_string;
    std::string strText;
    if (!status.bOpen) {
        return strText;
    }
    AddSingle(strText, "ktshttpagent_outbox_waiting", "gauge",
              "Reports in the outbox that the server has not acknowledged.", to_string(status.nWaiting));
    AddSingle(strText, "ktshttpagent_outbox_oldest_seconds", "gauge",
              "Age of the oldest report that waits; 0 for none.",
              to_string(std::chrono::duration_cast<std::chrono::seconds>(status.oldest).count()));
    AddSingle(strText, "ktshttpagent_outbox_bytes", "gauge",
              "Bytes of the outbox's files, those of other processes included.", to_string(status.nBytes));
    AddSingle(strText, "ktshttpagent_outbox_dead_letters", "gauge",
              "Reports that no further try brings in; a person has to look at them.",
              to_string(status.nDead));
    AddSingle(strText, "ktshttpagent_outbox_bad_pieces", "gauge",
              "Damaged pieces of files that were set aside.", to_string(status.nBad));
    AddSingle(strText, "ktshttpagent_outbox_unprotected_total", "counter",
              "Reports that were sent without being stored.", to_string(status.nUnprotected));
    AddSingle(strText, "ktshttpagent_outbox_alarm", "gauge",
              "1 if an address does not take reports, so that a person has to help.",
              status.bInAlarm ? "1" : "0");
    return strText;
}
