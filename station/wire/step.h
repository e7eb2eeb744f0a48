// Comes into step with a phone that may still owe an answer to a request that was given up.
//
// Policy: a read is sent whose answer cannot be taken for another one's, until two of different kinds came back one
// after the other with nothing else between. The phone answers its link's requests in their order, so what was owed has
// come by then. The modem answers in its own time, behind the phone's back: where that matters, the same is done with
// reads that the modem answers. Never with AT alone, which changes the phone's mode.
#pragma once

#include "station/wire/link.h"
#include "station/wire/session.h"

// Until the deadline. STATION_OK: the phone is in step, and the modem too where that was wanted; the line's mark is
// taken away as far as that is known. Otherwise STATION_NO_ANSWER, or how the link failed.
station_exit_en station_come_into_step(station_link_st* link, station_session_st* session, stream_form_en form,
                                       bool wants_modem, station_time deadline);

// One such read: whether a phone answers at all.
station_exit_en station_probe(station_session_st* session, stream_form_en form, station_time deadline);
