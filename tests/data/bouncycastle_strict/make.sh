#!/bin/sh
# Makes the samples of this folder with the Bouncy Castle library for Java (packages default-jdk-headless,
# libbcprov-java, libbcpkix-java): runs StrictSamples.java, which describes them. Usage: make.sh
# BC_JARS is the folder of the jar files, if they are not those of the packages.
# Every run gives other keys and serial numbers; the tests hold for all of them.
set -eu
cd "$(dirname "$0")"
jars=${BC_JARS:-$(dirname "$(dpkg -L libbcprov-java | grep '/bcprov\.jar$')")}
rm -f -- *.der samples.txt
exec java -cp "$jars/bcprov.jar:$jars/bcutil.jar:$jars/bcpkix.jar" StrictSamples.java
