#!/usr/bin/perl
# Calls vem's "get_info" with SOAP::Lite, with a packet header: client.pl ADDRESS NAMESPACE VEID
# Prints what it reads out of the answer.
use strict;
use warnings;
use SOAP::Lite;

my ($address, $namespace, $veid) = @ARGV;
my $client = SOAP::Lite->proxy($address)->default_ns($namespace)->autotype(0);
# A fault is an answer here, not the end.
$client->on_fault(sub { my (undef, $answer) = @_; return $answer; });

my $header = SOAP::Header->name('packet_header')->attr({ id => 'c7', priority => '1' })
    ->value(\SOAP::Data->value(SOAP::Data->name(origin => 'panel'), SOAP::Data->name(session => 'p.40000.7')));
my $answer = $client->call('get_info', SOAP::Data->name(veid => $veid), $header);
die "no answer: $answer\n" unless ref $answer;

if ($answer->fault) {
    print 'fault ', $answer->faultcode, ': ', $answer->faultstring, "\n";
    print 'error ', $answer->valueof('//Fault/detail/error/code'), ': ',
        $answer->valueof('//Fault/detail/error/message'), "\n";
} else {
    print 'response ', $answer->dataof('//Body/[1]')->name, "\n";
    print 've ', $answer->valueof('//Body/get_infoResponse/ve/veid'), ': ',
        $answer->valueof('//Body/get_infoResponse/ve/hostname'), "\n";
    my $packet = $answer->headerof('//Header/packet_header');
    print 'packet ', $packet->attr->{id}, ' from ', $answer->valueof('//Header/packet_header/origin'),
        ' to ', $answer->valueof('//Header/packet_header/target'), "\n";
}
