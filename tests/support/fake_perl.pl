#!/usr/bin/perl
use strict; use warnings; use FindBin; use IO::Handle; use Time::HiRes qw(sleep);
my $dir = $FindBin::Bin;
sub append { open(my $o, '>>:raw', "$dir/$_[0]") or die; print $o $_[1]; close $o; }
sub rules {
    my %r = (reply => {}, plain => {}, huge => {}, delay => {}, exit => {}, deaf => {}, stderr => {}, dies => {});
    open(my $in, '<:raw', "$dir/rules") or return \%r;
    while (my $line = <$in>) {
        chomp $line;
        my ($kind, $id, $value) = split /\t/, $line, -1;
        $value =~ s/\\(.)/$1 eq 'n' ? "\n" : $1/ge;
        $r{$kind}{$id} = $value;
    }
    return \%r;
}
append('arguments', join('', map { "$_\n" } @ARGV) . "\n");
append('pids', "$$\n");
if (%{rules()->{deaf}}) { $SIG{$_} = 'IGNORE' for qw(TERM INT); }
binmode STDIN; binmode STDOUT; STDOUT->autoflush(1);
my $previous = '';
my @files;
while (my $line = <STDIN>) {
    append('input', $line);
    exit 0 if $previous eq "-stay_open\n" && $line eq "0\n" && !%{rules()->{deaf}};
    $previous = $line;
    push @files, $line if $line =~ m{^/};
    next unless $line =~ /^-execute(\d+)\n\z/;
    my @named = @files;
    @files = ();
    my ($id, $r) = ($1, rules());
    if (defined(my $how = $r->{dies}{$id})) {
        # As ExifTool dies in an in-place write: its whole new copy made, then the photo's start overwritten.
        for (@named) {
            chomp(my $file = $_);
            open(my $t, '>:raw', "${file}_exiftool_tmp") or die; print $t "new copy"; close $t;
            next unless $how eq 'copying';
            open(my $p, '+<:raw', $file) or die; print $p "new"; close $p;
        }
        exit 0;
    }
    sleep($r->{delay}{$id} / 1000) if $r->{delay}{$id};
    print STDERR 'w' x $r->{stderr}{$id} if $r->{stderr}{$id};
    if ($r->{huge}{$id}) {
        my $block = ('-Comment=' . ('x' x 1014) . "\n") x 1024;
        for (my $n = 0; $n < $r->{huge}{$id}; $n += length $block) { print $block; }
    }
    my $text = $r->{reply}{$id} // $r->{reply}{'*'} // $r->{plain}{$id} // '';
    # As ExifTool answers a command that names several files: each file's part under its name.
    $text = join('', map { "======== $_$text" } @named) if @named > 1 && !exists $r->{plain}{$id};
    $text .= "{ready$id}\n" unless exists $r->{plain}{$id};
    my @parts = split /\|/, $text, -1;
    print shift(@parts) // '';
    for (@parts) { sleep(0.15); print; }
    exit 0 if exists $r->{exit}{$id};
    sleep(3600) if exists $r->{plain}{$id} && $r->{plain}{$id} eq '';
}
