# The program as a BIDS-App:
#   docker build -t mirel .
#   docker run --rm -u "$(id -u)" -v DATASET:/data:ro -v OUT:/out mirel /data /out participant
FROM debian:bookworm-slim AS build
COPY . /mirel
WORKDIR /mirel
RUN scripts/setup.sh
RUN scripts/dev.sh build
RUN cmake --install build/release --prefix /opt/mirel

FROM debian:bookworm-slim
COPY --from=build /opt/mirel /opt/mirel
COPY scripts/packages-run.txt /tmp/packages
RUN apt-get update -qq && \
    xargs -a /tmp/packages apt-get install -y -qq --no-install-recommends && \
    rm -rf /var/lib/apt/lists/* /tmp/packages && \
    /opt/mirel/bin/mirel --version
ENV PATH=/opt/mirel/bin:$PATH
ENTRYPOINT ["/opt/mirel/bin/mirel", "bids"]
