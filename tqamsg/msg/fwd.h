// The message model's classes, for headers that only point at them.
#pragma once

class IDRangeArray;
class TQAAuthorization;
class TQAMessage;
class TQAMessageIterator;
class TQAMsgFactory;
