# SPDX-License-Identifier: GPL-3.0-or-later
# KELPRA with R and the package, in Debian's slim image.
#
#     docker build -t kelpra .
#     docker run --rm -it -u "$(id -u):$(id -g)" -v "$PWD:/data" kelpra                  the dialogue
#     docker run --rm -u ... -v ... kelpra kelpra-study --traits traits.csv ...          tables to a page
#     docker run --rm -it -u ... -v ... kelpra R                                         library(kelpra)
#
# The program reads and writes in the folder that is mounted as /data.

FROM debian:bookworm-slim AS build
RUN apt-get update && apt-get install -y --no-install-recommends \
        cmake g++ libgsl-dev make r-base-core \
        r-cran-ape r-cran-cluster r-cran-future.apply r-cran-processx
COPY . /src
WORKDIR /src
RUN cmake -S . -B /build -DCMAKE_BUILD_TYPE=Release -DKELPRA_TESTS=OFF \
    && cmake --build /build --parallel "$(nproc)" \
    && cmake --install /build --prefix /usr/local \
    && R CMD INSTALL --library=/usr/local/lib/R/site-library r/kelpra

FROM debian:bookworm-slim
RUN apt-get update && apt-get install -y --no-install-recommends \
        fonts-dejavu-core libgomp1 libgsl27 r-base-core \
        r-cran-ape r-cran-cluster r-cran-future.apply r-cran-processx \
    && rm -rf /var/lib/apt/lists/*
COPY --from=build /usr/local /usr/local
ENV LANG=C.UTF-8
WORKDIR /data
CMD ["kelpra"]
