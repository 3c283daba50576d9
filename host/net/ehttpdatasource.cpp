// eHTTPDataSource: a body sink that belongs to the connection it was made on.

#include "net/ehttpdatasource.h"

#include "net/ehttpconnection.h"

eHTTPDataSource::eHTTPDataSource(eHTTPConnection *c) : connection(c)
{
    if (connection != nullptr)
        connection->adoptSink(this);
}

eHTTPDataSource::~eHTTPDataSource()
{
    if (connection != nullptr)
        connection->forgetSink(this);
}

void eHTTPDataSource::haveData(void *, int)
{
}

int eHTTPDataSource::doWrite(int)
{
    return 0;
}
