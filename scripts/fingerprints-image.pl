#!/usr/bin/env perl
# Rewrites a NIfTI-1 image: fingerprints-image.pl IN OUT EDIT...
#   axes 0 2 1        its axes in another order
#   field OFFSET TYPE VALUE...   values in its header (s 16 bits, f float, C byte)
#   swap              big-endian (16-bit samples)
#   float FACTOR      32-bit floats, multiplied
#   sample N VALUE    a sample of a float image (nan, inf, or a number)
#   cut BYTES         the end missing
# .gz as the names say.
use strict;
use warnings;

my ($in, $out, @edits) = @ARGV;
my $is;
open($is, $in =~ /\.gz$/ ? "gzip -dc '$in' |" : "<$in") or die "$in: $!";
binmode $is;
my $bytes = do { local $/; <$is> };
close $is or die "$in cannot be read\n";
my ($head, $data) = (substr($bytes, 0, 352), substr($bytes, 352));
my @words = map { split ' ' } @edits;

sub shorts { unpack("s<$_[1]", substr($head, $_[0], 2 * $_[1])) }
sub floats { unpack("f<$_[1]", substr($head, $_[0], 4 * $_[1])) }
sub put { my ($at, $type, @values) = @_; my $t = pack($type eq 'C' ? "C*" : "$type<*", @values); substr($head, $at, length $t) = $t; }

sub axes {
  my @order = @_;
  my @dim = shorts(40, 8);
  my @size = floats(76, 8);
  my ($nx, $ny, $nz, $bytesPer) = (@dim[1 .. 3], (shorts(72, 1))[0] / 8);
  my @n = ($nx, $ny, $nz);
  my @stride = ($bytesPer, $bytesPer * $nx, $bytesPer * $nx * $ny);
  my $volume = $bytesPer * $nx * $ny * $nz;
  my $new = '';
  for (my $start = 0; $start < length $data; $start += $volume) {
    for my $z (0 .. $n[$order[2]] - 1) {
      for my $y (0 .. $n[$order[1]] - 1) {
        my $row = $start + $z * $stride[$order[2]] + $y * $stride[$order[1]];
        $new .= substr($data, $row + $_ * $stride[$order[0]], $bytesPer) for 0 .. $n[$order[0]] - 1;
      }
    }
  }
  $data = $new;
  put(42, 's', map { $n[$_] } @order);
  put(80, 'f', map { $size[1 + $_] } @order);
  for my $row (0 .. 2) {
    my @column = floats(280 + 16 * $row, 3);
    put(280 + 16 * $row, 'f', map { $column[$_] } @order);
  }
  put(252, 's', 0);
}

while (defined(my $edit = shift @words)) {
  if ($edit eq 'axes') { axes(splice(@words, 0, 3)); }
  elsif ($edit eq 'field') {
    my ($at, $type) = splice(@words, 0, 2);
    my @values;
    push @values, shift @words while @words && $words[0] =~ /^[-+0-9.]/;
    put($at, $type, @values);
  }
  elsif ($edit eq 'swap') {
    my $t = 'l a10 a18 l s a a s8 f3 s4 f8 f f f s a a f4 l2 a80 a24 s2 f6 f12 a16 a4 a4';
    $head = pack("($t)>", unpack("($t)<", $head));
    $data = pack('s>*', unpack('s<*', $data));
  }
  elsif ($edit eq 'float') {
    my $factor = shift @words;
    $data = pack('f<*', map { $_ * $factor } unpack('s<*', $data));
    put(70, 's', 16, 32);
  }
  elsif ($edit eq 'sample') {
    my ($n, $value) = splice(@words, 0, 2);
    substr($data, 4 * $n, 4) = pack('f<', $value eq 'nan' ? -sin(9**9**9) : $value eq 'inf' ? 9**9**9 : $value);
  }
  elsif ($edit eq 'cut') { substr($data, -shift @words) = ''; }
  else { die "unknown edit $edit"; }
}
my $os;
open($os, $out =~ /\.gz$/ ? "| gzip -nc > '$out'" : ">$out") or die "$out: $!";
binmode $os;
print $os $head, $data;
close $os or die "$out: $!";
